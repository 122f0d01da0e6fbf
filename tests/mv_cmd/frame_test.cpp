#include "mv_cmd/frame.h"

#include <unistd.h>

#include <cstring>
#include <thread>
#include <vector>

#include "line_fixture.h"
#include "mv_base/crc32.h"
#include "mv_base/hex.h"

namespace {

class FrameTest : public LineTest {
 protected:
  int32_t Exchange(uint8_t cmd, const std::vector<uint8_t>& payload = {}) {
    static const uint8_t kNone = 0;
    return corvex_dev_io(port_, cmd, payload.empty() ? &kNone : payload.data(),
                         static_cast<int32_t>(payload.size()), out_, &out_len_);
  }

  void ExpectNothingDelivered() const {
    EXPECT_EQ(0xAA, out_[0]);
    EXPECT_EQ(77u, out_len_);
  }

  uint8_t out_[2048] = {0xAA};
  uint32_t out_len_ = 77;
};

TEST_F(FrameTest, DataArrivesWhole) {
  Reply("~10001602000000020FEC6D50E3");
  EXPECT_EQ(2, Exchange(0x10));
  EXPECT_EQ(2u, out_len_);
  EXPECT_EQ(0x02, out_[0]);
  EXPECT_EQ(0x0F, out_[1]);
  ExpectSent("~101600000000");
  EXPECT_TRUE(Logged("corvex_dev_io 数据长度:[2] 编码长度:[4]"));
}

TEST_F(FrameTest, APayloadIsFollowedByItsChecksum) {
  const struct {
    uint8_t cmd;
    std::vector<uint8_t> payload;
    const char* text;
  } kCases[] = {
      {0x12, {3}, "~1216010000000337BE0B4B"},
      {0x13, {0}, "~131601000000008DEF02D2"},
      {0x17, {0x00, 0x0A}, "~171602000000000AE1FB0CA1"},
  };
  for (const auto& c : kCases) {
    char reply[16] = "~00001600000000";
    Bin2Hex(reply + 1, &c.cmd, 1);
    Reply(reply);
    EXPECT_EQ(0, Exchange(c.cmd, c.payload));
    ExpectSent(c.text);
    ExpectNothingDelivered();
  }
}

TEST_F(FrameTest, TheLongestPayloadIsAThousandBytes) {
  Reply("~11001600000000");
  EXPECT_EQ(0, Exchange(0x11, std::vector<uint8_t>(1000, 0x5A)));
  const std::string sent = pty_.Receive(2021);
  ASSERT_EQ(2021u, sent.size());
  EXPECT_EQ("~1116E80300005A5A", sent.substr(0, 17));
  EXPECT_EQ(-1, Exchange(0x11, std::vector<uint8_t>(1001, 0x5A)));
  EXPECT_TRUE(Logged("corvex_dev_io 下发数据超长[1001]"));
  ExpectNothingSent();
}

TEST_F(FrameTest, NullPointersAndNegativeLengthsSendNothing) {
  const uint8_t payload = 0;
  EXPECT_EQ(-1, corvex_dev_io(port_, 0x10, nullptr, 0, out_, &out_len_));
  EXPECT_EQ(-1, corvex_dev_io(port_, 0x10, &payload, 0, nullptr, &out_len_));
  EXPECT_EQ(-1, corvex_dev_io(port_, 0x10, &payload, 0, out_, nullptr));
  EXPECT_EQ(-1, corvex_dev_io(port_, 0x10, &payload, -1, out_, &out_len_));
  ExpectNothingSent();
}

TEST_F(FrameTest, AHeaderMustAnswerTheRequest) {
  const struct {
    uint8_t cmd;
    const char* reply;
    int32_t code;
  } kCases[] = {
      {0x10, "~11001602000000020FEC6D50E3", -14},  // another command's
      {0x10, "!10001602000000020FEC6D50E3", -14},  // no start mark
      {0x10, "~10001702000000020FEC6D50E3", -14},  // another marker
      {0x10, "~10051600000000", -14},              // the reader's error
      {0x14, "~14071600000000", -14},  // no finger, but this is no probe
      {0x13, "~13071600000000", -7},   // no finger
      {0x13, "~13081600000000", -14},
      {0x13, "!14071600000000", -7},  // the status decides, whatever the rest
      {0x13, "ZZZZZZZZZZZZZZZ", -14},
  };
  for (const auto& c : kCases) {
    Reply(c.reply);
    EXPECT_EQ(c.code, Exchange(c.cmd)) << c.reply;
    ExpectNothingDelivered();
    tcflush(port_, TCIFLUSH);  // what the refused reply still had to say
  }
  EXPECT_TRUE(Logged("corvex_dev_io 校验数据的合法性失败[-14][5]"));
  EXPECT_TRUE(Logged("corvex_dev_io 未检测到手指按捺[7]"));
}

TEST_F(FrameTest, AReplyWithoutDataHasNoChecksumToWaitFor) {
  Reply("~10001600000000");
  EXPECT_EQ(0, Exchange(0x10));
  ExpectNothingDelivered();
}

TEST_F(FrameTest, AnAnnouncedLengthIsBounded) {
  Reply("~10001601040000");  // 1025
  EXPECT_EQ(-3, Exchange(0x10));
  Reply("~100016FFFFFF7F");
  EXPECT_EQ(-3, Exchange(0x10));
  Reply("~100016FFFFFFFF");  // negative: no data
  EXPECT_EQ(0, Exchange(0x10));
  ExpectNothingDelivered();
}

TEST_F(FrameTest, TheLargestReplyFits) {
  std::vector<uint8_t> data(1024);
  for (size_t i = 0; i < data.size(); ++i)
    data[i] = static_cast<uint8_t>(i * 7);
  const uint32_t crc = GenerateCRC32(data.data(), data.size());
  std::string text(2 * (data.size() + 4), '\0');
  Bin2Hex(text.data(), data.data(), 1024);
  Bin2Hex(text.data() + 2048, reinterpret_cast<const uint8_t*>(&crc), 4);
  Reply("~14001600040000" + text);
  EXPECT_EQ(1024, Exchange(0x14));
  EXPECT_EQ(0, std::memcmp(data.data(), out_, 1024));
}

TEST_F(FrameTest, LowerCaseHexIsAccepted) {
  Reply("~10001602000000020fec6d50e3");
  EXPECT_EQ(2, Exchange(0x10));
}

TEST_F(FrameTest, AChangedCharacterFailsTheChecksum) {
  Reply("~10001602000000030FEC6D50E3");
  EXPECT_EQ(-8, Exchange(0x10));
  ExpectNothingDelivered();
  EXPECT_TRUE(
      Logged("corvex_dev_io crc32校验数据失败[-11][4199242925][3813699052]"))
      << support::DayLog();
}

TEST_F(FrameTest, AReplyThatBreaksOffFailsWhereItBreaks) {
  const struct {
    const char* name;
    const char* reply;
    int32_t code;
  } kCases[] = {
      {"nothing", "", -11},
      {"in the header", "~10001", -14},
      {"before the length", "~100016", -14},
      {"in the length", "~1000160200000", -14},
      {"before the data", "~10001602000000", -11},
      {"in the data", "~10001602000000020", -11},
      {"before the checksum", "~10001602000000020F", -11},
      {"in the checksum", "~10001602000000020FEC6D50E", -8},
  };
  for (const auto& c : kCases) {
    support::Pty pty;
    const int32_t port = corvex_open_uart(pty.Name().c_str());
    pty.Send(c.reply);
    std::thread unplug([&] {
      pty.Receive(13);
      usleep(50000);
      pty.HangUp();
    });
    const uint8_t none = 0;
    EXPECT_EQ(c.code, corvex_dev_io(port, 0x10, &none, 0, out_, &out_len_))
        << c.name;
    ExpectNothingDelivered();
    unplug.join();
    corvex_close_uart(port);
  }
  EXPECT_TRUE(Logged("corvex_dev_io 读取前3字节指令包失败[-11]"));
  EXPECT_TRUE(Logged("corvex_dev_io 读取数据区的数据失败[-11]"));
  EXPECT_TRUE(Logged("corvex_dev_io 读取crc32校验数据失败[-11]"));
}

TEST_F(FrameTest, ASilentReaderIsGivenUp) {
  EXPECT_EQ(-11, Exchange(0x10));
  ExpectNothingDelivered();
}

TEST_F(FrameTest, ASilentReaderIsGivenUpInSpeedChangeMode) {
  Reply("~1200");
  EXPECT_EQ(-11, Exchange(0x12, {3}));
  EXPECT_TRUE(Logged("corvex_dev_io 读取波特率前3字节指令包失败[-11]"));
}

TEST_F(FrameTest, ALineThatIsGoneTakesNoRequest) {
  pty_.HangUp();
  EXPECT_EQ(-10, Exchange(0x10));
  EXPECT_TRUE(Logged("corvex_dev_io 下发数据失败[-1]"));
}

}  // namespace
