#include "mv_cmd/frame.h"

#include <cstring>

#include "line_fixture.h"
#include "mv_base/crc32.h"
#include "mv_base/transcript.h"
#include "support/tab_file.h"

namespace {

using support::Bytes;
using support::ToHex;

class FrameTest : public LineTest {
 protected:
  int32_t Exchange(uint8_t cmd, const Bytes& payload = {}) {
    std::memset(out_, 0xAA, sizeof out_);
    out_len_ = 77;
    return corvex_dev_io(port_, cmd, payload.empty() ? out_ : payload.data(),
                         static_cast<int32_t>(payload.size()), out_, &out_len_);
  }

  // A reply, the code it gives, and how long more of it was waited for.
  void Expect(uint8_t cmd, const std::string& reply, int32_t code,
              int64_t waited_ms = 0) {
    SCOPED_TRACE(reply);
    Reply(reply);
    EXPECT_EQ(code, Exchange(cmd));
    EXPECT_EQ(code > 0 ? "020FAA" : "AAAAAA", ToHex(out_, 3));
    EXPECT_EQ(code > 0 ? 2u : 77u, out_len_);
    EXPECT_EQ(waited_ms, WaitedMs());
    tcflush(port_, TCIFLUSH);  // what a refused reply still had to say
  }

  uint8_t out_[2048];
  uint32_t out_len_;
};

TEST_F(FrameTest, AReplyIsTakenOrRefused) {
  Expect(0x10, "~10001602000000020FEC6D50E3", 2);
  Expect(0x10, "~10001602000000020fec6d50e3", 2);
  Expect(0x10, "~10001600000000", 0);                // no checksum to wait for
  Expect(0x10, "~10001602000000030FEC6D50E3", -8);   // a changed character
  Expect(0x10, "~11001602000000020FEC6D50E3", -14);  // another command's
  Expect(0x10, "!10001602000000020FEC6D50E3", -14);  // no start mark
  Expect(0x10, "~10001702000000020FEC6D50E3", -14);  // another marker
  Expect(0x10, "~10051600000000", -14);              // the reader's error
  Expect(0x13, "~13071600000000", -7);               // no finger
  Expect(0x13, "!14071600000000", -7);  // the status decides, whatever the rest
  Expect(0x14, "~14071600000000", -14);  // here it is an error
  Expect(0x13, "ZZZZZZZZZZZZZZZ", -14);
  Expect(0x10, "~10001601040000", -3);  // 1025 bytes
  Expect(0x10, "~100016FFFFFF7F", -3);
  Expect(0x10, "~100016FFFFFFFF", 0);  // negative: no data
  ExpectTranscript(MV_EXPECTED, TakenLog());
}

TEST_F(FrameTest, AReplyThatBreaksOffIsGivenUpWhereItBreaks) {
  Expect(0x10, "", -11, 10000);
  Expect(0x10, "~10001", -14, 10000);
  Expect(0x10, "~1000160200000", -14, 10000);
  Expect(0x10, "~10001602000000", -11, 10000);
  Expect(0x10, "~10001602000000020", -11, 20000);
  Expect(0x10, "~10001602000000020F", -11, 10000);
  Expect(0x10, "~10001602000000020FEC6D50E", -8, 10000);
  Expect(0x12, "~1200", -11, 10000);  // the change of speed wants all of it
  pty_.HangUp();
  EXPECT_EQ(-10, Exchange(0x10));
  ExpectTranscript(MV_EXPECTED, TakenLog());
}

TEST_F(FrameTest, TheLargestReplyFits) {
  Bytes data(1024);
  for (size_t i = 0; i < data.size(); ++i)
    data[i] = static_cast<uint8_t>(i * 7);
  const uint32_t crc = GenerateCRC32(data.data(), data.size());
  Reply("~14001600040000" + ToHex(data.data(), data.size()) +
        ToHex(reinterpret_cast<const uint8_t*>(&crc), 4));
  EXPECT_EQ(1024, Exchange(0x14));
  EXPECT_EQ(1024u, out_len_);
  EXPECT_EQ(0, std::memcmp(data.data(), out_, 1024));
}

TEST_F(FrameTest, TheLongestPayloadIsAThousandBytes) {
  Reply("~11001600000000");
  EXPECT_EQ(0, Exchange(0x11, Bytes(1000, 0x5A)));
  EXPECT_EQ("~1116E80300005A5A", pty_.Receive(2021).substr(0, 17));
  EXPECT_EQ(-1, Exchange(0x11, Bytes(1001, 0x5A)));
  EXPECT_EQ(-1, corvex_dev_io(port_, 0x10, nullptr, 0, out_, &out_len_));
  EXPECT_EQ(-1, corvex_dev_io(port_, 0x10, out_, 0, nullptr, &out_len_));
  EXPECT_EQ(-1, corvex_dev_io(port_, 0x10, out_, 0, out_, nullptr));
  EXPECT_EQ(-1, corvex_dev_io(port_, 0x10, out_, -1, out_, &out_len_));
  ExpectNothingSent();
}

}  // namespace
