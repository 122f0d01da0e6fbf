// mvfp-vreader, run as its users run it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include "support/temp_file.h"
#include "virtual_reader/host_line.h"
#include "virtual_reader/reader_program.h"

namespace {

using support::ReadFile;
using support::WriteFile;

const char kVersion[] = "~101600000000";
const char kVersionReply[] = "~10001602000000020FEC6D50E3";
const char kProbe[] = "~131601000000008DEF02D2";
const char kCapture[] = "~141601000000011BDF05A5";

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// A script from standard input takes effect a moment after it was typed.
void AwaitFinger(HostLine* host) {
  while (host->Ask(kProbe, 15) != "~13001600000000") {
  }
}

TEST(Program, PrintsItsPortAndServesUntilItIsTold) {
  for (const int signal : {SIGINT, SIGTERM}) {
    ReaderProgram program({"--baud", "0", "--auto-press", "1"});
    HostLine host(program.ReadyLine());
    EXPECT_EQ(kVersionReply, host.Ask(kVersion, 27));
    EXPECT_EQ("~13001600000000", host.Ask(kProbe, 15));
    program.Terminate(signal);
    EXPECT_EQ(0, program.ExitStatus());
    EXPECT_EQ("", program.Complaints());
  }
}

TEST(Program, ServesAtLineSpeedUnlessToldOtherwise) {
  ReaderProgram program({"--trace"});
  EXPECT_EQ(kVersionReply, HostLine(program.ReadyLine()).Ask(kVersion, 27));
  program.Terminate(SIGTERM);
  EXPECT_EQ(0, program.ExitStatus());
  EXPECT_TRUE(Contains(program.Complaints(), kVersionReply));
}

TEST(Program, FailsWhenTheHostWasNotUnderstood) {
  for (const std::string request : {"~131601000000008DEF02D3", "~1016"}) {
    ReaderProgram program({});
    HostLine(program.ReadyLine()).Send(request);
    program.Terminate(SIGTERM);
    EXPECT_EQ(1, program.ExitStatus());
    EXPECT_TRUE(Contains(program.Complaints(), "mvfp-vreader: " + request));
  }
}

TEST(Program, ObeysLinesOfStandardInput) {
  ReaderProgram program({"--baud", "0", "--script", "-"});
  HostLine host(program.ReadyLine());
  EXPECT_EQ("~13071600000000", host.Ask(kProbe, 15));
  program.Type("press 1; wait-for capture; ");
  program.Type("quit\n");
  AwaitFinger(&host);
  EXPECT_EQ("~140016", host.Ask(kCapture, 7));
  EXPECT_EQ(0, program.ExitStatus());
}

TEST(Program, ABadLineOfStandardInputIsNamedAndTheRestObeyed) {
  ReaderProgram program({"--baud", "0", "--script", "-"});
  HostLine host(program.ReadyLine());
  program.Type("\nlift it\npress nobody\npress 1\n");
  AwaitFinger(&host);
  program.Type("quit\n");
  EXPECT_EQ(1, program.ExitStatus());
  EXPECT_EQ(
      "mvfp-vreader: standard input: line 2: 'it': not expected after lift\n"
      "mvfp-vreader: standard input: line 3: 'nobody': no such finger or "
      "impression\n",
      program.Complaints());
}

TEST(Program, RefusesBadFilesBeforeItBegins) {
  WriteFile("/tmp/bad.script", "press 1\nlift 2\nflop\n");
  WriteFile("/tmp/bad.records", "12-z");
  WriteFile("/tmp/good.records", "120000");
  const struct {
    std::vector<std::string> arguments;
    const char* complaint;
  } cases[] = {
      {{"--script", "/tmp/bad.script"},
       "mvfp-vreader: /tmp/bad.script: line 2: '2': not expected after lift\n"
       "mvfp-vreader: /tmp/bad.script: line 3: 'flop': no such command\n"},
      {{"--script", "/tmp/none"}, "mvfp-vreader: /tmp/none: cannot be read\n"},
      {{"--script", "/tmp"}, "mvfp-vreader: /tmp: cannot be read\n"},
      {{"--records", "/tmp/bad.records"}, "/tmp/bad.records: line 1: the rec"},
      {{"--records", "/tmp/good.records", "--auto-press", "2"},
       "'2': no such finger or impression"},
      {{"--trace", "/tmp/none/trace"}, "/tmp/none/trace: No such file"},
      {{"--link", "/tmp/bad.script"}, "/tmp/bad.script: File exists"},
      {{"--baud", "fast"}, "--baud"},
      {{"--loud"}, "--loud"},
  };
  for (const auto& c : cases) {
    ReaderProgram program(c.arguments);
    EXPECT_EQ("", program.ReadyLine());
    EXPECT_EQ(2, program.ExitStatus());
    const std::string complaints = program.Complaints();
    EXPECT_TRUE(Contains(complaints, c.complaint)) << complaints;
  }
}

TEST(Program, DeliversTheRecordsOfAFile) {
  WriteFile("/tmp/records", "db\tleft\t1\t11\ndb\tleft\t2\t22\n");
  WriteFile("/tmp/script", "press db/left; wait-for captures 2; quit");
  ReaderProgram program(
      {"--baud", "0", "--records", "/tmp/records", "--script", "/tmp/script"});
  HostLine host(program.ReadyLine());
  EXPECT_EQ("~1400160100000011", host.Ask(kCapture, 25).substr(0, 17));
  EXPECT_EQ("~1400160100000022", host.Ask(kCapture, 25).substr(0, 17));
  EXPECT_EQ(0, program.ExitStatus());
}

TEST(Program, TracesAndLinksAsAsked) {
  ReaderProgram program(
      {"--baud", "0", "--trace", "/tmp/trace", "--link", "/tmp/port"});
  const std::string port = program.ReadyLine();
  char target[64] = {};
  EXPECT_LT(0, readlink("/tmp/port", target, sizeof target - 1));
  EXPECT_EQ("/dev/" + port, target);
  HostLine host(port);
  host.Send("\x1B%K");
  host.Ask(kVersion, 27);
  program.Terminate(SIGTERM);
  EXPECT_EQ(0, program.ExitStatus());
  EXPECT_NE(0, access("/tmp/port", F_OK));
  const std::string trace = ReadFile("/tmp/trace");
  EXPECT_TRUE(Contains(trace, " request \\x1B%K\n")) << trace;
  EXPECT_TRUE(Contains(trace, std::string(" request ") + kVersion + "\n"));
  EXPECT_TRUE(Contains(trace, std::string(" reply   ") + kVersionReply));
}

TEST(Program, ExplainsItself) {
  for (const char* option : {"--help", "--version"}) {
    ReaderProgram program({option});
    EXPECT_NE("", program.ReadyLine());
    EXPECT_EQ(0, program.ExitStatus());
  }
}

}  // namespace
