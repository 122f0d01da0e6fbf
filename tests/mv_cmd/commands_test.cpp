#include "mv_cmd/commands.h"

#include <cstring>

#include "line_fixture.h"

namespace {

class CommandTest : public LineTest {
 protected:
  CommandTest() { std::memset(out_, '#', sizeof out_); }

  const char* Text() const { return reinterpret_cast<const char*>(out_); }
  char* Out() { return reinterpret_cast<char*>(out_); }

  uint8_t out_[2048];
};

TEST_F(CommandTest, TheVersionIsTheFirstTwoBytes) {
  const struct {
    const char* reply;
    const char* text;
  } kCases[] = {{"~10001602000000020FEC6D50E3", "v2.15"},
                {"~10001602000000FFFF0000FFFF", "v255.255"},
                {"~10001601000000072E7A664C", "v7.0"},
                {"~10001600000000", "v0.0"}};
  for (const auto& c : kCases) {
    Reply(c.reply);
    EXPECT_EQ(static_cast<int32_t>(std::strlen(c.text)),
              corvex_get_version(port_, Out()));
    EXPECT_STREQ(c.text, Text());
    ExpectSent("~101600000000");
  }
}

TEST_F(CommandTest, AFailedVersionLeavesTheTextAlone) {
  Reply("~10001602000000030FEC6D50E3");
  EXPECT_EQ(-8, corvex_get_version(port_, Out()));
  EXPECT_EQ('#', out_[0]);
  EXPECT_TRUE(Logged("corvex_get_sn 获取固件版本失败[-1]"));
}

TEST_F(CommandTest, TheSerialNumberIsAlways32Bytes) {
  const struct {
    const char* reply;
    std::string bytes;
  } kCases[] = {
      {"~150016140000004D56353132302D534E2D30313233343536373839EF9F34C3",
       "MV5120-SN-0123456789" + std::string(12, '\0')},
      {"~150016200000004D5635313230534E30313233343536373839303132333435363732"
       "3430333135199CBE11",
       "MV5120SN012345678901234567240315"},
      {"~150016230000004D5635313230534E30313233343536373839303132333435363732"
       "34303331352B2B2B49B74FF3",
       "MV5120SN012345678901234567240315"},
  };
  for (const auto& c : kCases) {
    Reply(c.reply);
    EXPECT_EQ(32, corvex_get_sn(port_, Out()));
    EXPECT_EQ(c.bytes, std::string(Text(), 32));
    EXPECT_EQ('#', out_[32]);
    ExpectSent("~1516070000000E00003200000009947197");
  }
}

TEST_F(CommandTest, Status7MeansNoFingerToTheProbeOnly) {
  Reply("~13071600000000");
  EXPECT_EQ(-7, corvex_get_check(port_));
  ExpectSent("~131601000000008DEF02D2");
  EXPECT_FALSE(Logged("corvex_get_check 探测手指失败[-7]"));
  Reply("~13001600000000");
  EXPECT_EQ(0, corvex_get_check(port_));
  Reply("~13021600000000");
  EXPECT_EQ(-14, corvex_get_check(port_));
  EXPECT_TRUE(Logged("corvex_get_check 探测手指失败[-14]"));
  Reply("~14071600000000");
  EXPECT_EQ(-14, corvex_get_feature(port_, out_, 0));
}

TEST_F(CommandTest, AFeatureHasMoreThan16Bytes) {
  const char kFeature[] =
      "~140016110000000102030405060708090A0B0C0D0E0F101175410172";
  Reply(kFeature);
  EXPECT_EQ(17, corvex_get_feature(port_, out_, 0));
  EXPECT_EQ(17, out_[16]);
  EXPECT_EQ('#', out_[17]);
  ExpectSent("~141601000000011BDF05A5");
  Reply(kFeature);
  EXPECT_EQ(24, corvex_get_feature(port_, out_, 1));
  EXPECT_STREQ("AQIDBAUGBwgJCgsMDQ4PEBE=", Text());
  out_[0] = '#';
  Reply("~140016100000000102030405060708090A0B0C0D0E0F10F1804C09");
  EXPECT_EQ(16, corvex_get_feature(port_, out_, 1));
  Reply("~14001600000000");
  EXPECT_EQ(0, corvex_get_feature(port_, out_, 1));
  EXPECT_EQ('#', out_[0]);
}

TEST_F(CommandTest, LedAndBeeperShareACommand) {
  Reply("~17001600000000");
  EXPECT_EQ(0, corvex_set_led(port_, 9));
  ExpectSent("~171602000000000AE1FB0CA1");
  Reply("~17051600000000");
  corvex_set_beep(port_, 9);
  ExpectSent("~171602000000010AA0CA17B8");
}

TEST_F(CommandTest, TheSpeedIsAnIndex) {
  Reply("~12001600000000");
  EXPECT_EQ(0, corvex_set_rate(port_, 3));
  ExpectSent("~1216010000000337BE0B4B");
  EXPECT_EQ(-1, corvex_set_rate(port_, 8));
  EXPECT_EQ(-1, corvex_set_rate(port_, -1));
  ExpectNothingSent();
}

TEST_F(CommandTest, TheSwitchBoxGetsOneRawLetter) {
  EXPECT_EQ(3, corvex_set_bpbox(port_, "B2"));
  ExpectSent("\x1B%B");
  for (const char* wrong : {"b", "", "D", " A"}) {
    EXPECT_EQ(-1, corvex_set_bpbox(port_, wrong)) << wrong;
  }
  EXPECT_EQ(-1, corvex_set_bpbox(port_, nullptr));
  ExpectNothingSent();
}

TEST_F(CommandTest, ANegativePortIsAnArgumentError) {
  EXPECT_EQ(-1, corvex_get_sn(-1, Out()));
  EXPECT_EQ(-1, corvex_get_sn(port_, nullptr));
  EXPECT_EQ(-1, corvex_set_led(-1, 0));
  EXPECT_EQ(-1, corvex_set_rate(-1, 3));
  EXPECT_EQ(-1, corvex_get_check(-1));
  EXPECT_EQ(-1, corvex_get_feature(-1, out_, 0));
  EXPECT_EQ(-1, corvex_get_feature(port_, nullptr, 0));
  EXPECT_EQ(-1, corvex_set_bpbox(-1, "A"));
  corvex_set_beep(-1, 0);
  ExpectNothingSent();
  for (const char* name : {"get_sn", "set_led", "set_rate", "get_check",
                           "get_feature", "set_bpbox", "set_beep"}) {
    EXPECT_TRUE(Logged("corvex_" + std::string(name) + " 参数错误[-1]"))
        << name;
  }
}

}  // namespace
