// What each fault does to a reply, and which reply it hits.
#include <gtest/gtest.h>
#include <unistd.h>

#include "virtual_reader/host_line.h"
#include "virtual_reader/reply.h"
#include "virtual_reader/virtual_reader.h"

namespace {

using corvex::vreader::VirtualReader;

const char kVersion[] = "~101600000000";
const std::string kVersionReply = "~10001602000000020FEC6D50E3";
const char kProbe[] = "~131601000000008DEF02D2";

class FaultTest : public testing::Test {
 protected:
  std::string AskVersion(const std::string& expected) {
    return host_.Ask(kVersion, expected.size());
  }
  VirtualReader reader_;
  HostLine host_{reader_.PortName()};
};

TEST_F(FaultTest, EachFaultSpoilsTheReplyAsItSays) {
  const struct {
    const char* fault;
    std::string reply;
  } cases[] = {
      {"flip 16", "~10001602000000030FEC6D50E3"},
      {"flip 16 2", "~10001602000000060FEC6D50E3"},
      {"double 1", "~110001602000000020FEC6D50E3"},
      {"garbage 007E0A", std::string("\0~\n", 3) + kVersionReply},
      {"mark 0x23", "#10001602000000020FEC6D50E3"},
      {"echo 0x11", "~11001602000000020FEC6D50E3"},
      {"status 7", "~10071600000000"},
      {"marker 0x17", "~10001702000000020FEC6D50E3"},
      {"length 1025", "~10001601040000020FEC6D50E3"},
      {"crc 0x12345678", "~10001602000000020F78563412"},
      {"lower", "~10001602000000020fec6d50e3"},
      {"dribble 1", kVersionReply},
      {"delay 1", kVersionReply},
      {"echo 0x11 + lower + flip 0",
       "\x7F"
       "11001602000000020fec6d50e3"},
  };
  for (const auto& c : cases) {
    reader_.Run(c.fault);
    EXPECT_EQ(c.reply, AskVersion(c.reply)) << c.fault;
  }
}

// The fault is over once a faultless reply has come.
TEST_F(FaultTest, TruncationAndSilenceLeaveNothingBehind) {
  reader_.Run("truncate 15; silence; truncate 0");
  EXPECT_EQ("~10001602000000", AskVersion("~10001602000000"));
  host_.Send(kVersion);
  host_.Send(kVersion);
  EXPECT_EQ(kVersionReply, AskVersion(kVersionReply));
}

TEST_F(FaultTest, AFaultForACommandWaitsForIt) {
  reader_.Run("status 9 on probe; status 8");
  EXPECT_EQ("~10081600000000", AskVersion("~10081600000000"));
  EXPECT_EQ(kVersionReply, AskVersion(kVersionReply));
  EXPECT_EQ("~13091600000000", host_.Ask(kProbe, 15));
}

TEST_F(FaultTest, AHangUpLetsTheHostReadWhatWasSent) {
  reader_.Run("hang-up 5");
  EXPECT_EQ("~1000", AskVersion(kVersionReply));
  EXPECT_TRUE(host_.HasHungUp());
  EXPECT_EQ(-1, host_.Send(kVersion));
  EXPECT_EQ(EIO, errno);
}

TEST_F(FaultTest, AHangUpCanComeInsteadOfAReply) {
  reader_.Run("hang-up");
  EXPECT_EQ("", AskVersion(kVersionReply));
}

TEST_F(FaultTest, AnUnpluggedLineHangsUpAtOnce) {
  reader_.Run("unplug");
  EXPECT_TRUE(host_.HasHungUp());
}

TEST_F(FaultTest, NobodyElseGetsTheNameOfAnUnpluggedLine) {
  reader_.Run("unplug");
  EXPECT_NE(0, access(("/dev/" + reader_.PortName()).c_str(), F_OK));
  EXPECT_NE(reader_.PortName(), VirtualReader().PortName());
}

TEST_F(FaultTest, ALiteralExchangeCanEndInAHangUp) {
  reader_.On(kVersion).Reply("~10").HangUp();
  EXPECT_EQ("~10", AskVersion(kVersionReply));
  EXPECT_TRUE(host_.HasHungUp());
}

}  // namespace
