// Scripts: what they do, in which order, and what they refuse.
#include "virtual_reader/script.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "virtual_reader/host_line.h"
#include "virtual_reader/virtual_reader.h"

namespace {

using corvex::vreader::Bytes;
using corvex::vreader::ParseScript;
using corvex::vreader::VirtualReader;

const char kProbe[] = "~131601000000008DEF02D2";
const char kCapture[] = "~141601000000011BDF05A5";

class ScriptTest : public testing::Test {
 protected:
  ScriptTest() {
    reader_.AddRecord("1", 1, Bytes{0x11});
    reader_.AddRecord("1", 2, Bytes{0x22});
    reader_.AddRecord("left thumb", 1, Bytes{0x33});
  }
  bool FingerFound() { return host_.Ask(kProbe, 15)[4] == '0'; }
  // The captured record's one byte in hexadecimal; empty without a finger.
  std::string Capture() {
    if (host_.Ask(kCapture, 15)[4] == '7') return "";
    return host_.Read(10).substr(0, 2);
  }
  VirtualReader reader_;
  HostLine host_{reader_.PortName()};
};

TEST_F(ScriptTest, ThreePressesCanFollowEachOther) {
  reader_.Run(
      "wait-for probes 2 ; press 1 1 ; hold capture\n"
      "wait-for probe    ; press 1 2 ; hold probes 2");
  EXPECT_FALSE(FingerFound());
  EXPECT_FALSE(FingerFound());
  EXPECT_TRUE(FingerFound());
  EXPECT_EQ("11", Capture());
  EXPECT_FALSE(FingerFound());
  EXPECT_EQ("22", Capture());
  EXPECT_TRUE(FingerFound());
  EXPECT_TRUE(FingerFound());
  EXPECT_FALSE(FingerFound());
  EXPECT_TRUE(reader_.ScriptDone());
}

TEST_F(ScriptTest, APressWithoutImpressionGivesANewOneEachTime) {
  reader_.Run("press 1");
  EXPECT_EQ("11", Capture());
  EXPECT_EQ("22", Capture());
  reader_.Run("lift; press 1");
  EXPECT_EQ("11", Capture());
}

TEST_F(ScriptTest, LinesQueueBehindAWait) {
  reader_.Run("wait-for capture; lift");
  reader_.Run("press 1");
  reader_.Press(Bytes{0x44});
  EXPECT_EQ("44", Capture());
  EXPECT_EQ("11", Capture());
}

TEST_F(ScriptTest, TimePassesWithoutRequests) {
  reader_.Run("wait 1; press 1");
  while (!reader_.ScriptDone()) {
  }
  EXPECT_TRUE(FingerFound());
}

TEST_F(ScriptTest, VersionAndSerialNumberCanChange) {
  reader_.Run("version 255 1; serial SN1");
  EXPECT_EQ("~10001602000000FF01",
            host_.Ask("~101600000000", 27).substr(0, 19));
  EXPECT_EQ("~15001603000000534E314A2B9FAE",
            host_.Ask("~1516070000000E00003200000009947197", 29));
  reader_.Run("version");
  EXPECT_EQ("~10001600000000", host_.Ask("~101600000000", 15));
}

TEST_F(ScriptTest, AnUnknownFingerIsRefusedAndNothingRuns) {
  EXPECT_THROW(reader_.Run("press 1; press thumb"), std::invalid_argument);
  EXPECT_THROW(reader_.Run("press 1 3"), std::invalid_argument);
  EXPECT_THROW(reader_.Run("press 1; presss 1"), std::invalid_argument);
  EXPECT_FALSE(FingerFound());
}

TEST(ScriptErrors, NameTheLineAndTheWord) {
  const struct {
    const char* script;
    const char* error;
  } cases[] = {
      {"presss 1", "line 1: 'presss': no such command"},
      {"lift\n\n lift now", "line 3: 'now': not expected after lift"},
      {"press", "line 1: 'press': needs a finger"},
      {"press 1 0", "line 1: '0': expected a number from 1 to 1000000"},
      {"press 1 2x", "line 1: '2x': expected a number from 1 to 1000000"},
      {"wait -1", "line 1: '-1': expected a number from 0 to 86400000"},
      {"wait-for Godot", "line 1: 'Godot': expected request, probe, "},
      {"flip", "line 1: 'flip': needs a position"},
      {"flip 1 8", "line 1: '8': expected a number from 0 to 7"},
      {"flip 1 +", "line 1: '+': needs a fault on both sides"},
      {"flip 1 + flop", "line 1: 'flop': no such fault"},
      {"garbage 0", "line 1: '0': expected bytes in hexadecimal"},
      {"status 0x100", "line 1: '0x100': expected a number from 0 to 255"},
      {"silence on paper", "line 1: 'paper': expected version, speed, "},
      {"lift; silence on probe 2", "line 1: 'on': not expected after silence"},
  };
  for (const auto& c : cases) {
    const auto errors = ParseScript(c.script).errors;
    ASSERT_EQ(1u, errors.size()) << c.script;
    EXPECT_EQ(0u, errors[0].find(c.error)) << errors[0];
  }
}

TEST(ScriptErrors, DoNotHideTheGoodCommands) {
  const auto script = ParseScript("lift; bad; wait 1 # comment; bad\nworse");
  EXPECT_EQ(2u, script.steps.size());
  EXPECT_EQ(2u, script.errors.size());
}

}  // namespace
