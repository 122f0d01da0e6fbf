// What tests of the driver, and people without hardware, take for granted of
// the reader's side.
#include "virtual_reader/virtual_reader.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>

#include "MvMatch/MvMatch.h"
#include "mv_cmd/serial_port.h"
#include "support/temp_file.h"

namespace {

using namespace corvex::vreader;

#define CAPTURE "~141601000000011BDF05A5"
#define VERSION "~101600000000"

TEST(Reader, RefusesWhatIsMalformedAndSpoilsWhatItIsToldTo) {
  // The script; what the host sends, gets (at least) and is told to have done.
  const std::string cases[][4] = {
      {"", "~10160000000g", "", "header character that is not a hexadecimal"},
      {"", "~131601000000008def02d2", "~13011600000000", "lower-case hex"},
      {"", "~101700000000", "~10011600000000", "frame marker 17 instead of 16"},
      {"", "~131601000000008DEF02D3", "~13011600000000", "value 8DEF02D3 inst"},
      {"", "~1316E9030000", "", "a payload length of 1001, more than 1000"},
      {"", "~1016E8030000", "", "broke off after 13 characters of 2021"},
      {"", "~551600000000", "~55011600000000", "an unknown command"},
      {"", "~12160100000008BF67D9DC", "~12011600000000", "a payload that this"},
      {"", "~13160100000000", "", "of 23: the check value is missing"},
      {"", "~1016" VERSION, "~100016", "~1016: request broke off after 5 char"},
      {"", "#101600000000", "", "13 characters outside any request"},
      {"", "\x1B%b", "", "\\x1B%b: a selector letter that no switch box knows"},
      {"silence", CAPTURE VERSION, "~10001602000000", ""},
      {"flip 16 2 + double 1", VERSION, "~110001602000000060FEC6D50E3", ""},
      {"truncate 21; truncate 21; press 1; hold captures 2",
       CAPTURE CAPTURE CAPTURE,
       "~140016BC000000120025~140016D500000012002A~1407", ""},
      {"mark 0x23 + echo 17 + marker 23", VERSION, "#11001702000000020F", ""},
      {"length 4 + crc 0x12AB + lower", VERSION, "~10001604000000020fab", ""},
      {"delay 1 + dribble 1 + garbage 237E", VERSION, "#~~1000160200000", ""},
  };
  for (const auto& [script, sent, reply, problem] : cases) {
    VirtualReader reader;
    reader.Run(script);
    const int32_t line = corvex_open_uart(reader.PortName().c_str());
    support::WriteFile("/dev/" + reader.PortName(), sent);
    uint8_t got[64] = {};
    corvex_read_data(line, got, static_cast<int32_t>(reply.size()));
    corvex_close_uart(line);
    EXPECT_EQ(reply, reinterpret_cast<char*>(got)) << script << sent;
    auto errors = reader.Errors();
    errors.resize(1);
    EXPECT_NE(std::string::npos, errors[0].find(problem)) << errors[0];
  }
}

// The recorded rates rest on these very records.
TEST(SyntheticFinger, MatchesItselfAndNoOtherOnEveryMachine) {
  Bytes all;
  for (uint32_t enrolled = 1; enrolled <= 20; ++enrolled) {
    const Bytes record = SyntheticRecord(enrolled, 1000 + enrolled);
    all.insert(all.end(), record.begin(), record.end());
    for (uint32_t other = 1; other <= 20; ++other) {
      const Bytes pressed = SyntheticRecord(other, 4);
      const int score = MivoMatchFinger(record.data(), pressed.data());
      EXPECT_TRUE(other == enrolled ? score > 45 : score < 30) << enrolled;
    }
  }
  EXPECT_EQ(978742412u, CheckValue(all));
}

TEST(Program, TellsItsPortWhatWentWrongAndHowItEnded) {
  const char* const cases[][2] = {
      {"printf 'lift it\nquit' | $v --script -",
       "pts/[0-9]+\n.*: standard input: line 1: 'it': not expected .*\n1\n"},
      {"$v --link /tmp/port & until [ -e /tmp/port ]; do :; done\n"
       "printf '~1016' >/tmp/port; kill $!; wait $!",
       "pts/[0-9]+\nmvfp-vreader: ~1016: request broke off after 5.*\n1\n"},
      {"printf '#\ndb\tleft\t1\tEgA=' >/tmp/r; echo quit >/tmp/s\n"
       "$v --records /tmp/r --script /tmp/s --auto-press db/left",
       "pts/[0-9]+\n0\n"},
      {"$v --script /tmp || $v --baud x", ".* be read\n--baud(.*\n)*2\n"},
  };
  for (const auto& [command, expected] : cases) {
    const std::string run = "exec >/tmp/out 2>&1; v=" MV_VREADER "\n";
    ASSERT_EQ(0, std::system((run + command + "\necho $?").c_str()));
    const std::string out = support::ReadFile("/tmp/out");
    EXPECT_TRUE(std::regex_match(out, std::regex(expected))) << out;
  }
}

}  // namespace
