// The reader against literal frames. They were computed by another program.
#include <gtest/gtest.h>

#include "virtual_reader/host_line.h"
#include "virtual_reader/reply.h"
#include "virtual_reader/virtual_reader.h"

namespace {

using corvex::vreader::Bytes;
using corvex::vreader::Options;
using corvex::vreader::Transfer;
using corvex::vreader::VirtualReader;

const char kVersion[] = "~101600000000";
const char kVersionReply[] = "~10001602000000020FEC6D50E3";
const char kProbe[] = "~131601000000008DEF02D2";
const char kCapture[] = "~141601000000011BDF05A5";
const Bytes kRecord = {0x12, 0x00, 0x01, 0x80, 0x80, 0x01, 0xC8, 0x00};
const char kRecordReply[] = "~14001608000000120001808001C800420BBECE";

struct Case {
  const char* name;
  const char* request;
  const char* reply;
};

class ProtocolTest : public testing::Test {
 protected:
  std::string Ask(const std::string& request, const std::string& reply) {
    return host_.Ask(request, reply.size());
  }
  VirtualReader reader_;
  HostLine host_{reader_.PortName()};
};

TEST_F(ProtocolTest, EveryCommandGetsItsReply) {
  const Case cases[] = {
      {"version", kVersion, kVersionReply},
      {"slowest speed", "~1216010000000337BE0B4B", "~12001600000000"},
      {"highest speed index", "~121601000000072E7A664C", "~12001600000000"},
      {"probe of an empty sensor", kProbe, "~13071600000000"},
      {"capture from an empty sensor", kCapture, "~14071600000000"},
      {"serial number", "~1516070000000E00003200000009947197",
       "~15001620000000435831323036413030303139303030303437313130303030"
       "3432323430333135E820BD66"},
      {"led", "~171602000000000AE1FB0CA1", "~17001600000000"},
      {"beep", "~171602000000010AA0CA17B8", "~17001600000000"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.reply, Ask(c.request, c.reply)) << c.name;
  }
  EXPECT_EQ(7, reader_.Speed());
  EXPECT_EQ(1, reader_.Beeps());
  EXPECT_EQ(1, reader_.Counts().leds);
  EXPECT_EQ(std::size(cases), reader_.Requests().size());
  EXPECT_TRUE(reader_.Errors().empty());
}

TEST_F(ProtocolTest, AFingerIsFoundAndItsRecordDelivered) {
  reader_.Press(kRecord);
  EXPECT_EQ("~13001600000000", Ask(kProbe, "~13001600000000"));
  EXPECT_EQ(kRecordReply, Ask(kCapture, kRecordReply));
  reader_.Lift();
  EXPECT_EQ("~13071600000000", Ask(kProbe, "~13071600000000"));
}

TEST_F(ProtocolTest, ARecordThatNoReaderWouldGiveIsDeliveredWhole) {
  reader_.Press(Bytes(1025, 0x5A));
  const std::string reply = host_.Ask(kCapture, 15 + 2 * 1025 + 8);
  EXPECT_EQ("~140016010400005A5A", reply.substr(0, 19));
  EXPECT_EQ(15 + 2 * 1025 + 8u, reply.size());
}

TEST_F(ProtocolTest, TheSelectorReachesTheSwitchBoxAndGetsNoReply) {
  host_.Send("\x1B%B");
  EXPECT_EQ('B', reader_.Selector());
  EXPECT_EQ(kVersionReply, Ask(kVersion, kVersionReply));
  EXPECT_EQ((std::vector<std::string>{"\x1B%B", kVersion}), reader_.Requests());
}

TEST_F(ProtocolTest, ARequestMayComeInPieces) {
  host_.Send("~1016");
  EXPECT_EQ(kVersionReply, Ask("00000000", kVersionReply));
  EXPECT_TRUE(reader_.Errors().empty());
}

TEST_F(ProtocolTest, ALiteralExchangeIsAnsweredToTheLetter) {
  reader_.On("~551600000000")
      .Reply("any")
      .Wait(std::chrono::milliseconds(1))
      .Reply("thing");
  EXPECT_EQ("anything", host_.Ask("~551600000000", 8));
  reader_.On(kVersion);
  host_.Send(kVersion);
  EXPECT_EQ("~13071600000000", Ask(kProbe, "~13071600000000"));
  EXPECT_TRUE(reader_.Errors().empty());
}

TEST_F(ProtocolTest, TheTraceHoldsBothDirectionsInOrder) {
  Ask(kVersion, kVersionReply);
  const auto trace = reader_.Trace();
  ASSERT_EQ(2u, trace.size());
  EXPECT_EQ(Transfer::Direction::kToReader, trace[0].direction);
  EXPECT_EQ(kVersion, trace[0].text);
  EXPECT_EQ(Transfer::Direction::kToHost, trace[1].direction);
  EXPECT_EQ(kVersionReply, trace[1].text);
  EXPECT_LE(trace[0].time, trace[1].time);
}

TEST_F(ProtocolTest, TheLineIsFoundInACookedState) {
  VirtualReader untouched;
  const termios settings = untouched.TerminalSettings();
  EXPECT_NE(0u, settings.c_lflag & ICANON);
  EXPECT_NE(0u, settings.c_oflag & OPOST);
  EXPECT_EQ(0u, reader_.TerminalSettings().c_lflag & ICANON);
}

TEST_F(ProtocolTest, WhatTheHostDidNotReadSurvivesItsClose) {
  {
    HostLine other(reader_.PortName());
    other.Send(kVersion);
    EXPECT_EQ("~", other.Read(1));
  }
  EXPECT_EQ(kVersionReply + 1, host_.Read(sizeof kVersionReply - 2));
}

TEST(ProtocolErrors, WhatARealReaderWouldNotUnderstandIsNamed) {
  const struct {
    const char* request;
    const char* error;
  } cases[] = {
      {"~10160000000g", "a header character that is not a hexadecimal digit"},
      {"~1316010000000g8DEF02D2", "that is not a hexadecimal digit"},
      {"~131601000000008def02d2", "lower-case hexadecimal digits"},
      {"~101700000000", "frame marker 17 instead of 16"},
      {"~131601000000008DEF02D3", "check value 8DEF02D3 instead of 8DEF02D2"},
      {"~1316E9030000", "a payload length of 1001, more than 1000"},
      {"~551600000000", "an unknown command"},
      {"~131601000000011BDF05A5", "a payload that this command does not have"},
      {"~171602000000020A63993A93", "a payload that this command does not"},
      {"~12160100000008BF67D9DC", "a payload that this command does not"},
      {"~13160100000000", "after 15 characters of 23: the check value is "},
      {"~1016~101600000000", "~1016: request broke off after 5 characters"},
      {"\x1B%~101600000000", "\\x1B%: request broke off after 2 characters"},
      {"#101600000000", "13 characters outside any request"},
      {"\x1B%b", "a selector letter that no switch box knows"},
      {"\x1B[A", "an escape sequence that is no selector"},
  };
  for (const auto& c : cases) {
    VirtualReader reader;
    HostLine(reader.PortName()).Send(c.request);
    const auto errors = reader.Errors();
    ASSERT_EQ(1u, errors.size()) << c.request;
    EXPECT_NE(std::string::npos, errors[0].find(c.error)) << errors[0];
  }
}

TEST_F(ProtocolTest, AMalformedFrameIsRefusedAndTheNextOneServed) {
  EXPECT_EQ("~13011600000000",
            Ask("~131601000000008DEF02D3", "~13011600000000"));
  EXPECT_EQ(kVersionReply, Ask(kVersion, kVersionReply));
}

TEST_F(ProtocolTest, ARequestThatStaysIncompleteIsGivenUp) {
  host_.Send("~13160100000000");
  while (reader_.Requests().empty()) {
  }
  EXPECT_EQ(kVersionReply, Ask(kVersion, kVersionReply));
  EXPECT_EQ(1u, reader_.Errors().size());
}

TEST(Pacing, EachCharacterTakesTenBitsAndTheRequestComesFirst) {
  using corvex::vreader::CharacterTime;
  using corvex::vreader::Delivery;
  Delivery delivery;
  delivery.pieces = {{std::chrono::milliseconds(5), "ab"},
                     {std::chrono::milliseconds(7), "c"}};
  const Delivery paced = Pace(delivery, 9600, 13);
  ASSERT_EQ(3u, paced.pieces.size());
  const auto each = CharacterTime(9600);
  EXPECT_EQ(1041, each.count());
  EXPECT_EQ(13 * each + std::chrono::milliseconds(5) + each,
            paced.pieces[0].wait);
  EXPECT_EQ(each, paced.pieces[1].wait);
  EXPECT_EQ(std::chrono::milliseconds(7) + each, paced.pieces[2].wait);
  EXPECT_EQ("c", paced.pieces[2].text);
}

TEST(Pacing, ASlowLineDeliversTheSameBytes) {
  Options options;
  options.baud = 9600;
  VirtualReader reader(options);
  HostLine host(reader.PortName());
  EXPECT_EQ(kVersionReply, host.Ask(kVersion, sizeof kVersionReply - 1));
}

}  // namespace
