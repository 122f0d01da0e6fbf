// The commands that talk to a reader, each run as a program.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "cx_file_lock/cx_file_lock.h"
#include "mv_base/base64.h"
#include "support/pty.h"
#include "support/temp_file.h"
#include "tool_run.h"
#include "virtual_reader/virtual_reader.h"

namespace {

using Arguments = std::vector<std::string>;

std::vector<uint8_t> BytesOf(const std::string& text) {
  std::vector<uint8_t> bytes(text.size());
  const int count =
      DecodeB64(bytes.data(), text.data(), static_cast<int>(text.size()));
  bytes.resize(static_cast<size_t>(count));
  return bytes;
}

class ToolTest : public testing::Test {
 protected:
  explicit ToolTest(corvex::vreader::Options options = {})
      : reader_(std::move(options)) {
    reader_.AddRecord("anna", 1, BytesOf(SampleRecord(40)));
    reader_.AddRecord("bert", 1, BytesOf(SampleRecord(40, 2)));
    reader_.AddRecord("carl", 1, BytesOf(SampleRecord(40, 3)));
    reader_.AddRecord("nothing", 1, {0x12, 0, 0});
  }

  Arguments With(Arguments arguments) const {
    arguments.insert(arguments.end(), {"--port", reader_.PortName()});
    return arguments;
  }

  void WaitUntil(const std::function<bool()>& holds) const {
    for (int i = 0; i < 2000 && !holds(); ++i) usleep(5000);
    ASSERT_TRUE(holds());
  }

  static void ExpectLockFree() {
    const int lock = cx_file_lock();
    EXPECT_GE(lock, 0) << "the call lock is still held";
    cx_file_unlock(lock);
  }

  corvex::vreader::VirtualReader reader_;
};

struct Situation {
  const char* name;
  Arguments arguments;
  const char* script;
  int exit_code;
  std::string out;
  std::vector<std::string> err;  // each is somewhere on standard error
};

void PrintTo(const Situation& situation, std::ostream* out) {
  *out << situation.name;
}

const std::vector<Situation>& Situations() {
  static const std::vector<Situation> kSituations = {
      {"Version", {"version"}, "", 0, "v2.15\n", {}},
      {"SerialNumber", {"sn"}, "", 0, "CX1206A0001900004711000042240315\n", {}},
      {"ProbeWithoutFinger", {"probe"}, "", 1, "no finger\n", {}},
      {"ProbeWithFinger", {"probe"}, "press anna", 0, "finger\n", {}},
      {"Capture", {"capture"}, "press anna", 0, SampleRecord(40) + "\n", {}},
      {"Enrolment",
       {"enroll", "--timeout", "20"},
       "press anna",
       0,
       SampleRecord(40) + "\n",
       {}},
      // There is no screen here: the enrolment goes on without a window.
      {"GuidedEnrolmentOfThreeFingers",
       {"enroll", "--guided", "-t", "30"},
       "press anna; wait-for captures 1; press bert; wait-for captures 1; "
       "press carl",
       4,
       "",
       {"the three presses do not agree (FG_TipsGetTemplate -601)"}},
      {"CaptureWithoutFinger",
       {"capture", "-t", "1"},
       "",
       3,
       "",
       {"mvfp: no finger came in time (FG_GetFeature -2)", "--timeout"}},
      {"EnrolmentWithTwoPresses",
       {"enroll", "-t", "4"},
       "press anna; wait-for captures 2; lift",
       3,
       "",
       {"not all three presses came in time (FG_GetTemplate -2)"}},
      {"EnrolmentOfThreeFingers",
       {"enroll", "-t", "20"},
       "press anna; wait-for captures 1; press bert; wait-for captures 1; "
       "press carl",
       4,
       "",
       {"the three presses do not agree (FG_GetTemplate -99)", "same finger"}},
      {"CaptureOfAnEmptyRecord",
       {"capture"},
       "press nothing",
       3,
       "",
       {"found no print", "press again"}},
      {"WrongChecksum",
       {"version"},
       "crc 1 on version",
       4,
       "",
       {"the checksum of the reader's reply is wrong (FG_GetDevVersion -8)",
        "cable"}},
      {"Refusal",
       {"sn"},
       "status 5 on serial",
       4,
       "",
       {"mvfp: the reader refused", "FG_GetDevSn -14", "mvfp log on"}},
      {"BrokenReply",
       {"version"},
       "hang-up 5 on version",
       4,
       "",
       {"FG_GetDevVersion -"}},
      {"SpeedRefused",
       {"capture"},
       "status 5 on speed",
       4,
       "",
       {"the reader did not take its link speed (FG_GetFeature -10)",
        "mvfp version"}},
  };
  return kSituations;
}

class SituationTest : public ToolTest,
                      public testing::WithParamInterface<Situation> {};

TEST_P(SituationTest, GivesResultAndAdviceAndExitCode) {
  const Situation& situation = GetParam();
  reader_.Run(situation.script);
  const Finished run = RunTool(With(situation.arguments));
  EXPECT_EQ(situation.exit_code, run.exit_code) << run.err;
  EXPECT_EQ(situation.out, run.out);
  EXPECT_EQ(situation.err.empty(), run.err.empty()) << run.err;
  for (const std::string& text : situation.err) {
    EXPECT_NE(std::string::npos, run.err.find(text)) << run.err;
  }
  EXPECT_EQ(std::vector<std::string>{}, reader_.Errors());
}

TEST_P(SituationTest, GivesOneJsonObject) {
  const Situation& situation = GetParam();
  reader_.Run(situation.script);
  Arguments arguments = With(situation.arguments);
  arguments.push_back("--json");
  const Finished run = RunTool(arguments);
  EXPECT_EQ(situation.exit_code, run.exit_code);
  const auto object = run.Json();
  EXPECT_EQ(situation.exit_code < 2, object.value("ok", false)) << object;
  EXPECT_EQ(situation.arguments.front(), object.value("command", ""));
  if (situation.exit_code < 2) return;
  EXPECT_EQ(situation.exit_code, object.value("exit_code", 0));
  EXPECT_NE("", object["error"].value("what", ""));
  EXPECT_NE("", object["error"].value("next", ""));
}

INSTANTIATE_TEST_SUITE_P(Every, SituationTest, testing::ValuesIn(Situations()),
                         [](const auto& test) { return test.param.name; });

TEST_F(ToolTest, TheCaptureIsTheReadersRecordAndMatchesTheEnrolment) {
  reader_.Run("press anna");
  const Finished enrolled = RunTool(With({"enroll", "-t", "20"}));
  const Finished captured = RunTool(With({"capture"}));
  EXPECT_EQ(SampleRecord(40) + "\n", captured.out);
  EXPECT_EQ(0,
            RunTool({"match", "--level", "5", enrolled.out.substr(0, 276), "-"},
                    captured.out)
                .exit_code);
}

TEST_F(ToolTest, ThePortMayCarryDevOrComeFromTheEnvironment) {
  EXPECT_EQ("v2.15\n",
            RunTool({"version", "-p", "/dev/" + reader_.PortName()}).out);
  setenv("MVFP_PORT", reader_.PortName().c_str(), 1);
  EXPECT_EQ("v2.15\n", RunTool({"version"}).out);
}

TEST_F(ToolTest, TheSwitchBoxGetsItsLetter) {
  EXPECT_EQ(0, RunTool(With({"version", "--box", "B"})).exit_code);
  EXPECT_EQ('B', reader_.Selector());
}

TEST_F(ToolTest, AFingerprintFileIsItsOwnersAlone) {
  reader_.Run("press anna");
  const Finished run = RunTool(With({"capture", "-o", "/tmp/anna"}));
  EXPECT_EQ(0, run.exit_code);
  EXPECT_EQ("", run.out);
  EXPECT_EQ(SampleRecord(40) + "\n", support::ReadFile("/tmp/anna"));
  struct stat status {};
  ASSERT_EQ(0, stat("/tmp/anna", &status));
  EXPECT_EQ(0600U, status.st_mode & 0777);
}

TEST_F(ToolTest, NobodyPressesForAFileThatCannotBeWritten) {
  reader_.Run("press anna");
  const Finished run = RunTool(With({"capture", "-o", "/tmp/none/anna"}));
  EXPECT_EQ(2, run.exit_code);
  EXPECT_NE(std::string::npos, run.err.find("cannot write /tmp/none/anna"));
  EXPECT_EQ(0U, reader_.Requests().size());
}

TEST_F(ToolTest, ABusyReaderIsNamedAsSuch) {
  const int lock = cx_file_lock();
  const Finished run = RunTool(With({"version"}));
  cx_file_unlock(lock);
  EXPECT_EQ(4, run.exit_code);
  EXPECT_NE(std::string::npos, run.err.find("another call holds the reader"));
  EXPECT_EQ(std::string::npos, run.err.find("refused")) << run.err;
}

// The call says "no finger" for this too; only its ten seconds tell.
TEST_F(ToolTest, ASilentReaderIsNotMistakenForAnEmptySensor) {
  reader_.Run("press anna; silence on probe");
  const Finished run = RunTool(With({"probe"}));
  EXPECT_EQ(1, run.exit_code);
  EXPECT_EQ("no finger\n", run.out);
  EXPECT_NE(std::string::npos, run.err.find("did not answer the probe"));
}

TEST(PortTest, WhatIsWrongWithThePortIsSaid) {
  for (const auto& [port, text] : std::map<std::string, std::string>{
           {"ttyNONE", "there is no /dev/ttyNONE"},
           {"null", "/dev/null is not a serial port"}}) {
    const Finished run = RunTool({"version", "--port", port});
    EXPECT_EQ(4, run.exit_code);
    EXPECT_NE(std::string::npos, run.err.find(text)) << run.err;
  }
}

TEST(PortTest, NoPortIsAUsageError) {
  for (const Arguments& port : {Arguments{}, Arguments{"-p", "/tmp/x"}}) {
    Arguments arguments = {"sn"};
    arguments.insert(arguments.end(), port.begin(), port.end());
    const Finished run = RunTool(arguments);
    EXPECT_EQ(2, run.exit_code);
    EXPECT_NE(std::string::npos, run.err.find("MVFP_PORT")) << run.err;
  }
}

class InterruptTest : public ToolTest,
                      public testing::WithParamInterface<int> {};

TEST_P(InterruptTest, EndsTheWaitAndLeavesEverythingFree) {
  const termios before = reader_.TerminalSettings();
  ToolRun tool(With({"capture", "--timeout", "60", "--json"}));
  WaitUntil([&] { return reader_.Counts().probes >= 1; });
  tool.Signal(GetParam());
  const Finished run = tool.Wait();
  EXPECT_EQ(GetParam(), run.signal) << "a shell's loop would go on";
  EXPECT_NE(std::string::npos, run.err.find("interrupted")) << run.err;
  EXPECT_EQ(128 + GetParam(), run.Json().value("exit_code", 0));
  ExpectLockFree();
  EXPECT_TRUE(support::SameSettings(before, reader_.TerminalSettings()));
  EXPECT_EQ("v2.15\n", RunTool(With({"version"})).out);
}

INSTANTIATE_TEST_SUITE_P(Signals, InterruptTest,
                         testing::Values(SIGINT, SIGTERM, SIGHUP));

class SlowLineTest : public ToolTest {
 protected:
  SlowLineTest() : ToolTest(SlowLine(&asked_)) {}

  static corvex::vreader::Options SlowLine(std::atomic<bool>* asked) {
    corvex::vreader::Options options;
    options.baud = 9600;
    options.on_transfer = [asked](const corvex::vreader::Transfer& transfer) {
      if (transfer.text.rfind("~14", 0) == 0) *asked = true;
    };
    return options;
  }

  std::atomic<bool> asked_{false};  // for a record
};

// The record takes half a second; the next call must not read its rest.
TEST_F(SlowLineTest, AnInterruptedReplyIsNotTheNextCallsReply) {
  reader_.Run("press anna");
  ToolRun tool(With({"capture"}));
  WaitUntil([&] { return asked_.load(); });
  usleep(50000);
  tool.Signal(SIGINT);
  EXPECT_EQ(SIGINT, tool.Wait().signal);
  EXPECT_EQ("v2.15\n", RunTool(With({"version"})).out);
  EXPECT_EQ(std::vector<std::string>{}, reader_.Errors());
}

TEST_F(ToolTest, AKilledToolTakesItsCallWithIt) {
  ToolRun tool(With({"capture", "--timeout", "60"}));
  WaitUntil([&] { return reader_.Counts().probes >= 1; });
  tool.Signal(SIGKILL);
  tool.Wait();
  WaitUntil([] {
    const int lock = cx_file_lock();
    cx_file_unlock(lock);
    return lock >= 0;
  });
}

TEST_F(ToolTest, ATerminalShowsTheSecondsLeft) {
  ToolRun tool(With({"capture", "-t", "30"}), "", ToolRun::ErrorTo::kTerminal);
  EXPECT_TRUE(tool.WaitForError("mvfp: press the finger on the sensor (29 s"));
  reader_.Run("press anna");
  const Finished run = tool.Wait();
  EXPECT_EQ(SampleRecord(40) + "\n", run.out);
  EXPECT_EQ("\r\033[K", run.err.substr(run.err.size() - 4));
}

TEST_F(ToolTest, WithoutTheLogAnEnrolmentCountsNoPresses) {
  ToolRun tool(With({"enroll", "-t", "30"}), "", ToolRun::ErrorTo::kTerminal);
  EXPECT_TRUE(tool.WaitForError("press three times"));
  reader_.Run("press anna");
  EXPECT_EQ(std::string::npos, tool.Wait().err.find("of 3"));
}

TEST_F(ToolTest, WithTheLogOnAnEnrolmentNamesThePressThatIsDue) {
  support::SwitchLogOn();
  ToolRun tool(With({"enroll", "-t", "30"}), "", ToolRun::ErrorTo::kTerminal);
  EXPECT_TRUE(tool.WaitForError("mvfp: press 1 of 3 ("));
  reader_.Run("press anna; wait-for captures; lift");
  EXPECT_TRUE(tool.WaitForError("mvfp: lift the finger, then press 2 of 3 ("));
  reader_.Run("press anna; wait-for captures; lift");
  EXPECT_TRUE(tool.WaitForError("mvfp: lift the finger, then press 3 of 3 ("));
  reader_.Run("press anna");
  EXPECT_EQ(0, tool.Wait().exit_code);
}

}  // namespace
