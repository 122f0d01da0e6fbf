// Start, search and end of the prompt program.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "corvex_capdlg/stand_in.h"
#include "cx_logger.h"
#include "extern/smo_opt/smo_base1.h"
#include "support/conditions.h"
#include "support/temp_file.h"

namespace {

using support::Eventually;
using support::InstallStandIn;
using support::StandIn;

class Processes : public CxSmoBase1 {
 public:
  using CxSmoBase1::priAppRunning;
  using CxSmoBase1::priGetAppExeN;
};

// A "pgrep" that prints a text of our own.
void ReplacePgrep(const std::string& output) {
  mkdir("/tmp/bin", 0755);
  support::WriteFile("/tmp/bin/pgrep", "#!/bin/sh\necho '" + output + "'\n");
  chmod("/tmp/bin/pgrep", 0755);
  setenv("PATH", "/tmp/bin:/usr/bin:/bin", 1);
}

std::string CommandLine(pid_t process) {
  std::string line =
      support::ReadFile("/proc/" + std::to_string(process) + "/cmdline");
  for (char& c : line) c = c == '\0' ? ' ' : c;
  return line;
}

// Its end: an emulated program's begins with the emulator.
bool RunsAs(pid_t process, const std::string& command) {
  const std::string line = CommandLine(process);
  return line.size() >= command.size() &&
         line.compare(line.size() - command.size(), command.size(), command) ==
             0;
}

class PromptProcess : public testing::Test {
 protected:
  void TearDown() override { processes_.sm_exit_apprun("cx_capdlg", 0); }

  bool ErrorEndsWith(const std::string& end) const {
    const std::string text = processes_.sm_get_errinf();
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
  }

  Processes processes_;
};

TEST_F(PromptProcess, IsStartedWithItsOneArgument) {
  const std::string path = InstallStandIn("/tmp/a", StandIn::kObeys);
  const int32_t process = processes_.sm_run_appfile(path);
  ASSERT_GT(process, 0);
  EXPECT_TRUE(Eventually([&] { return RunsAs(process, path + " 10 "); }))
      << CommandLine(process);
  EXPECT_EQ(process, processes_.sm_app_running("anywhere/cx_capdlg"));
}

TEST_F(PromptProcess, ADirectoryNameIsNoShellCommand) {
  const std::string path =
      InstallStandIn("/tmp/a b;touch it's $(id) &", StandIn::kObeys);
  const int32_t process = processes_.sm_run_appfile(path);
  ASSERT_GT(process, 0);
  EXPECT_TRUE(Eventually([&] { return RunsAs(process, path + " 10 "); }))
      << CommandLine(process);
}

TEST_F(PromptProcess, AFileNameIsNoShellCommand) {
  EXPECT_EQ(CX_DLG_NOT_RUNNING,
            processes_.sm_app_running("/tmp/x;touch \\/tmp\\/stranger"));
  EXPECT_EQ(CX_DLG_NOT_RUNNING, processes_.sm_app_running("x;echo 1"));
}

TEST_F(PromptProcess, AMissingFileRunsNoCommandAtAll) {
  ReplacePgrep("1");
  support::WriteFile("/tmp/bin/pgrep", "#!/bin/sh\n: > /tmp/pgrep_ran\n");
  EXPECT_EQ(CX_DLG_NO_PROGRAM, processes_.sm_run_appfile("/tmp/none/cx"));
  EXPECT_TRUE(
      ErrorEndsWith(" app file is not exist. nret = [-18] [/tmp/none/cx]"));
  EXPECT_NE(0, access("/tmp/pgrep_ran", F_OK));
}

TEST_F(PromptProcess, ARelativePathStartsAtTheExecutablesDirectory) {
  ASSERT_EQ(0, chdir("/tmp"));
  support::WriteFile("/tmp/cx_capdlg", "");
  EXPECT_EQ(CX_DLG_NO_PROGRAM, processes_.sm_run_appfile("cx_capdlg"));
  InstallStandIn("/tmp/a", StandIn::kObeys);
  std::string up;
  for (const char c : corvex::log_get_app_path(corvex::kAppDirectory)) {
    if (c == '/') up += "../";
  }
  EXPECT_GT(processes_.sm_run_appfile(up + "tmp/a/cx_capdlg"), 0);
}

TEST_F(PromptProcess, AnOldInstanceIsKilledFirst) {
  const std::string path = InstallStandIn("/tmp/a", StandIn::kStubborn);
  const int32_t old = processes_.sm_run_appfile(path);
  ASSERT_GT(old, 0);
  processes_.sm_run_appfile(path);
  EXPECT_TRUE(Eventually([&] { return kill(old, 0) != 0; }));
  EXPECT_TRUE(Eventually([&] {
    const int32_t now = processes_.sm_app_running(path);
    return now > 0 && now != old;
  }));
}

TEST_F(PromptProcess, OneThatEndsAtOnceHasNotComeUp) {
  const std::string path = InstallStandIn("/tmp/a", StandIn::kEndsAtOnce);
  ReplacePgrep("");
  EXPECT_EQ(CX_DLG_FAILED, processes_.sm_run_appfile(path));
  EXPECT_TRUE(
      ErrorEndsWith(" app file run failed. nret = [-18] [" + path + "]"));
}

TEST_F(PromptProcess, OneThatRunsIsKilledWhenTheWaitIsOver) {
  const std::string path = InstallStandIn("/tmp/a", StandIn::kStubborn);
  const int32_t process = processes_.sm_run_appfile(path);
  EXPECT_EQ(process, processes_.sm_exit_apprun(path, 0));
  EXPECT_TRUE(
      ErrorEndsWith(" priExitAppRun. force exit of app ... [" + path + "]"));
  EXPECT_TRUE(Eventually([&] { return kill(process, 0) != 0; }));
  EXPECT_EQ(0, processes_.sm_exit_apprun(path, 3000));
}

TEST_F(PromptProcess, TheFirstOfTwoIsReported) {
  ReplacePgrep("4321\n4400");
  EXPECT_EQ(4321, processes_.priAppRunning("cx_capdlg"));
}

// Where process 1 never takes note of its orphans' end, a closed window would
// be found for ever, and the user could not cancel.
TEST_F(PromptProcess, OneThatHasEndedIsNotRunning) {
  const pid_t ended = fork();
  if (ended == 0) _exit(0);
  siginfo_t info{};
  ASSERT_EQ(0,
            waitid(P_PID, static_cast<id_t>(ended), &info, WEXITED | WNOWAIT));
  ReplacePgrep(std::to_string(ended));
  EXPECT_EQ(CX_DLG_NOT_RUNNING, processes_.priAppRunning("cx_capdlg"));
  ReplacePgrep(std::to_string(ended) + "\n4321");
  EXPECT_EQ(4321, processes_.priAppRunning("cx_capdlg"));
}

// "kill -9 0" would end the host.
TEST_F(PromptProcess, OutputThatIsNoProcessIdIsNoProcess) {
  for (const char* output : {"0", "-1", "pgrep: error", "nonsense 7"}) {
    ReplacePgrep(output);
    EXPECT_EQ(CX_DLG_NOT_RUNNING, processes_.sm_app_running("/a/cx")) << output;
    EXPECT_TRUE(ErrorEndsWith(
        " sm_app_running. app exited. nret = [-20] appname = [/a/cx]"));
    EXPECT_EQ(0, processes_.sm_exit_apprun("/a/cx", 0));
  }
}

TEST_F(PromptProcess, ItsNameIsWhatFollowsTheLastSlash) {
  EXPECT_EQ("cx_capdlg", Processes::priGetAppExeN("cx_capdlg"));
  EXPECT_EQ("cx_capdlg", Processes::priGetAppExeN("/usr/lib/mv/cx_capdlg"));
}

TEST_F(PromptProcess, ADirectoryIsChangedAndComeBackTo) {
  ASSERT_EQ(0, chdir("/tmp"));
  ASSERT_EQ(0, mkdir("/tmp/d", 0755));
  EXPECT_EQ(0, processes_.smo_chdir(false, ""));
  EXPECT_EQ(0, processes_.smo_chdir(true, "/tmp/d/cx_capdlg"));
  EXPECT_EQ("/tmp/d", corvex::log_run_cmd("pwd"));
  EXPECT_EQ(0, processes_.smo_chdir(false, ""));
  EXPECT_EQ("/tmp", corvex::log_run_cmd("pwd"));
  EXPECT_EQ(-1, processes_.smo_chdir(true, "/tmp/none/cx_capdlg"));
  EXPECT_TRUE(ErrorEndsWith(" smo_chdir. chdir failed. nret = [-1]"));
}

}  // namespace
