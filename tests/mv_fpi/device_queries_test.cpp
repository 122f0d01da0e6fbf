#include <cstring>
#include <thread>

#include "call_fixture.h"

namespace {

class QueryTest : public CallTest {
 protected:
  QueryTest() {
    std::memset(version_, '#', sizeof version_);
    std::memset(sn_, '#', sizeof sn_);
  }

  void ExpectUntouched() const {
    EXPECT_EQ('#', version_[0]);
    EXPECT_EQ('#', sn_[0]);
  }

  // Every query, on this port: the same result from each.
  void ExpectEvery(int code, const char* port, const char* box = "",
                   int speed = 9600) {
    EXPECT_EQ(code, FG_GetDevVersion(port, box, speed, version_));
    EXPECT_EQ(code, FG_GetDevSn(port, box, speed, sn_));
    EXPECT_EQ(code, FG_CheckPressed(port, box, speed));
    ExpectUntouched();
  }

  char version_[16];
  char sn_[40];
};

TEST_F(QueryTest, TheVersionArrivesAsText) {
  EXPECT_EQ(0, FG_GetDevVersion(Port(), "", 9600, version_));
  EXPECT_STREQ("v2.15", version_);
  EXPECT_TRUE(Logged("FG_GetDevVersion 开始..."));
  EXPECT_TRUE(Logged("FG_GetDevVersion 结束[0]\n"));
}

TEST_F(QueryTest, TheSerialNumberIsExactly32Bytes) {
  reader_.On("~1516070000000E00003200000009947197")
      .Reply("~150016140000004D56353132302D534E2D30313233343536373839EF9F34C3");
  EXPECT_EQ(0, FG_GetDevSn(Port(), "", 9600, sn_));
  EXPECT_EQ("MV5120-SN-0123456789" + std::string(12, '\0') + "#",
            std::string(sn_, 33));
}

TEST_F(QueryTest, AFingerIsThereOrNot) {
  EXPECT_EQ(-7, FG_CheckPressed(Port(), "", 9600));
  reader_.Press(Record(20));
  EXPECT_EQ(0, FG_CheckPressed(Port(), "", 9600));
  // Deliberate: a probe that answers more than "yes", or fails, is no finger.
  const char kProbe[] = "~131601000000008DEF02D2";
  reader_.On(kProbe).Reply("~13001601000000072E7A664C");
  EXPECT_EQ(-7, FG_CheckPressed(Port(), "", 9600));
  reader_.On(kProbe).Reply("~13091600000000");
  EXPECT_EQ(-7, FG_CheckPressed(Port(), "", 9600));
  EXPECT_FALSE(Logged("FG_CheckPressed 开始..."));
  EXPECT_TRUE(Logged("FG_CheckPressed 结束[-7]\n"));
}

TEST_F(QueryTest, BadArgumentsTouchNothing) {
  ExpectEvery(-1, nullptr);
  ExpectEvery(-1, Port(), nullptr);
  ExpectEvery(-1, Port(), "", 115200);
  ExpectEvery(-1, Port(), "", 0);
  EXPECT_EQ(-1, FG_GetDevVersion(Port(), "", 9600, nullptr));
  EXPECT_EQ(-1, FG_GetDevSn(Port(), "", 9600, nullptr));
  EXPECT_TRUE(reader_.Requests().empty());
  EXPECT_TRUE(Logged("FG_GetDevSn 参数错误[-1]\n"));
  EXPECT_NE(0, access(kCallLockPath, F_OK));  // refused before the lock
}

TEST_F(QueryTest, APortThatCannotBeOpenedStillEndsTheCall) {
  support::WriteFile("/tmp/plain", "");
  ExpectEvery(-3, "no_such_port");
  ExpectEvery(-3, "../tmp/plain");
  EXPECT_TRUE(Logged("FG_GetDevVersion 打开串口失败[-3]"));
  EXPECT_TRUE(Logged("FG_CheckPressed 打开串口失败[-1]"));
  EXPECT_TRUE(Logged("FG_GetDevVersion 结束[-3]\n"));
}

TEST_F(QueryTest, AHeldLockIsAnsweredAtOnceAndWithoutAWord) {
  const int32_t lock = cx_file_lock();
  ExpectEvery(-14, Port());
  cx_file_unlock(lock);
  EXPECT_TRUE(reader_.Requests().empty());
  EXPECT_FALSE(Logged("FG_GetDevVersion 结束[-14]\n"));
}

TEST_F(QueryTest, TheSwitchBoxIsAddressedFirst) {
  EXPECT_EQ(0, FG_GetDevVersion(Port(), "K7", 9600, version_));
  EXPECT_EQ('K', reader_.Selector());
  std::memset(version_, '#', sizeof version_);
  ExpectEvery(-10, Port(), "x");
  EXPECT_TRUE(Logged("FG_GetDevSn 下发BP盒指令失败[-10]"));
}

TEST_F(QueryTest, TheReadersOwnFailureIsTheResult) {
  const struct {
    const char* fault;
    int code;
  } kCases[] = {
      {"status 5", -14},      {"marker 17", -14},  {"echo 11", -14},
      {"crc 0xDEADBEEF", -8}, {"length 1025", -3},
  };
  for (const auto& c : kCases) {
    reader_.Run(c.fault);
    EXPECT_EQ(c.code, FG_GetDevVersion(Port(), "", 9600, version_)) << c.fault;
    reader_.Run(c.fault);
    EXPECT_EQ(c.code, FG_GetDevSn(Port(), "", 9600, sn_)) << c.fault;
  }
  ExpectUntouched();
  EXPECT_TRUE(Logged("FG_GetDevVersion 获取设备版本信息失败[-8]"));
  EXPECT_TRUE(Logged("FG_GetDevSn 获取SN序列号失败[-8]"));
}

TEST_F(QueryTest, AReaderThatFallsSilentCostsTenSecondsAndTheCall) {
  reader_.Run("silence");
  EXPECT_EQ(-11, FG_GetDevVersion(Port(), "", 9600, version_));
  ExpectUntouched();
}

TEST_F(QueryTest, APortThatVanishesInMidReplyEndsTheCallAtOnce) {
  reader_.Run("hang-up 4");
  EXPECT_EQ(-14, FG_GetDevVersion(Port(), "", 9600, version_));
  ExpectEvery(-3, Port());
  unplugged_ = true;
}

}  // namespace
