#include <cstring>
#include <thread>

#include "call_fixture.h"
#include "mv_base/base64.h"

namespace {

class FeatureTest : public CallTest {
 protected:
  FeatureTest() {
    std::memset(feature_, '#', sizeof feature_);
    std::memset(message_, '#', sizeof message_);
    message_[sizeof message_ - 1] = '\0';
  }

  int Capture(int timeout_s = 3, const char* port = nullptr,
              const char* box = "") {
    return FG_GetFeature(port != nullptr ? port : Port(), box, 9600, timeout_s,
                         feature_, &length_, message_);
  }

  void ExpectNoFeature() const {
    EXPECT_EQ('#', feature_[0]);
    EXPECT_EQ(77, length_);
  }
  void ExpectNoMessage() const { EXPECT_EQ('#', message_[0]); }

  char feature_[1100];
  int length_ = 77;
  char message_[40];
};

TEST_F(FeatureTest, AFingerBecomesText) {
  const support::Bytes record = Record(30);
  reader_.Press(record);
  EXPECT_EQ(0, Capture());
  EXPECT_STREQ("采集指纹特征成功", message_);
  EXPECT_EQ(static_cast<int>(std::strlen(feature_)), length_);
  uint8_t decoded[1024];
  ASSERT_EQ(static_cast<int>(record.size()),
            DecodeB64(decoded, feature_, length_));
  EXPECT_EQ(0, std::memcmp(record.data(), decoded, record.size()));
  EXPECT_EQ(1, reader_.Beeps());
  EXPECT_EQ(3, reader_.Speed());
  for (const char* line :
       {"开始...", "设备波特率完成", "已经检测到手指", "结束[0]\n"}) {
    EXPECT_TRUE(Logged("FG_GetFeature " + std::string(line))) << line;
  }
}

TEST_F(FeatureTest, AFingerThatComesLateIsStillCaptured) {
  reader_.AddRecord("late", 1, Record(10));
  reader_.Run("wait-for probes 2; press late 1");
  EXPECT_EQ(0, Capture(10));
  EXPECT_EQ(3, reader_.Counts().probes);
  EXPECT_TRUE(Logged("FG_GetFeature 没有检测到手指"));
}

TEST_F(FeatureTest, NoFingerInTimeIsATimeout) {
  EXPECT_EQ(-2, Capture(1));
  EXPECT_STREQ("采集指纹特征超时", message_);
  ExpectNoFeature();
  EXPECT_LE(reader_.Counts().probes, 3);
  EXPECT_TRUE(Logged("FG_GetFeature 采集指纹特征超时[-2]"));
}

TEST_F(FeatureTest, BadArgumentsTouchNothing) {
  EXPECT_EQ(-1, Capture(0));
  EXPECT_EQ(-1, Capture(-1));
  EXPECT_EQ(-1,
            FG_GetFeature(nullptr, "", 9600, 1, feature_, &length_, message_));
  EXPECT_EQ(-1, FG_GetFeature(Port(), nullptr, 9600, 1, feature_, &length_,
                              message_));
  EXPECT_EQ(-1,
            FG_GetFeature(Port(), "", 9601, 1, feature_, &length_, message_));
  EXPECT_EQ(-1,
            FG_GetFeature(Port(), "", 9600, 1, nullptr, &length_, message_));
  EXPECT_EQ(-1,
            FG_GetFeature(Port(), "", 9600, 1, feature_, nullptr, message_));
  EXPECT_EQ(-1,
            FG_GetFeature(Port(), "", 9600, 1, feature_, &length_, nullptr));
  ExpectNoFeature();
  ExpectNoMessage();
  EXPECT_TRUE(reader_.Requests().empty());
}

TEST_F(FeatureTest, ALinkThatFailsSaysWhere) {
  EXPECT_EQ(-3, Capture(1, "no_such_port"));
  EXPECT_STREQ("打开串口失败", message_);
  EXPECT_EQ(-10, Capture(1, nullptr, "x"));
  EXPECT_STREQ("下发BP盒指令失败", message_);
  reader_.Run("status 5");
  EXPECT_EQ(-10, Capture());
  EXPECT_STREQ("设备串口波特率失败", message_);
  EXPECT_TRUE(Logged("FG_GetFeature 设备波特率失败[-14]"));
  ExpectNoFeature();
}

TEST_F(FeatureTest, AFailedProbeEndsTheCallWithoutAMessage) {
  reader_.Run("status 9 on probe");
  EXPECT_EQ(-14, Capture());
  ExpectNoMessage();
  ExpectNoFeature();
  EXPECT_TRUE(Logged("FG_GetFeature 探测手指出错[-14]"));
}

TEST_F(FeatureTest, AFailedReadIsAFailedCapture) {
  reader_.Press(Record(30));
  reader_.Run("flip 40 on capture");
  EXPECT_EQ(-8, Capture());
  EXPECT_STREQ("采集指纹特征失败", message_);
  EXPECT_EQ(0, reader_.Beeps());
  ExpectNoFeature();
  EXPECT_TRUE(Logged("FG_GetFeature 采集指纹特征失败[-8]"));
}

TEST_F(FeatureTest, AFailedBeepChangesNothing) {
  reader_.Press(Record(30));
  reader_.Run("status 3 on beep");
  EXPECT_EQ(0, Capture());
  EXPECT_STREQ("采集指纹特征成功", message_);
}

TEST_F(FeatureTest, AReaderWithNothingToGiveGivesAnEmptyText) {
  reader_.Press(support::Bytes(16, 0x12));
  EXPECT_EQ(0, Capture());
  EXPECT_STREQ("", feature_);
  EXPECT_EQ(0, length_);
}

// The caller is promised 1024 bytes at most; a reader can send more.
TEST_F(FeatureTest, ARecordTooLongForTheCallersBufferIsAFailedCapture) {
  reader_.Press(support::Bytes(766, 0x12));
  EXPECT_EQ(-3, Capture());
  EXPECT_STREQ("采集指纹特征失败", message_);
  ExpectNoFeature();
  reader_.Press(support::Bytes(1024, 0x12));
  EXPECT_EQ(-3, Capture());
  ExpectNoFeature();
  reader_.Press(support::Bytes(765, 0x12));
  EXPECT_EQ(0, Capture());
  EXPECT_EQ(1020, length_);
}

TEST_F(FeatureTest, ASecondCallIsRefusedWhileTheFirstWaits) {
  int first = 99;
  std::thread host([&] { first = Capture(2); });
  reader_.Run("wait-for probes 1");
  while (reader_.Counts().probes == 0) std::this_thread::yield();
  EXPECT_EQ(-14, FG_CheckPressed(Port(), "", 9600));
  host.join();
  EXPECT_EQ(-2, first);
}

TEST_F(FeatureTest, APortThatVanishesWhileWaitingFreesTheLock) {
  reader_.Run("hang-up 0 on probe");
  EXPECT_EQ(-11, Capture(5));
  ExpectNoMessage();
  unplugged_ = true;
}

}  // namespace
