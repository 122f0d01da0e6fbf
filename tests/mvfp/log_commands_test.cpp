// log on, off and follow, each run as a program.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>

#include "support/temp_file.h"
#include "tool_run.h"

namespace {

using support::DayLogPath;

void Append(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::app) << text;
}

TEST(LogOn, MakesALogThatEveryUserCanWrite) {
  umask(077);
  const Finished run = RunTool({"log", "on"});
  EXPECT_EQ(0, run.exit_code);
  EXPECT_EQ("log on: " + DayLogPath() + "\n", run.out);
  struct stat status {};
  ASSERT_EQ(0, stat(DayLogPath().c_str(), &status));
  EXPECT_EQ(0666U, status.st_mode & 0777);
}

// While the log is on, every program that loads the driver writes to it: the
// tool too.
TEST(LogOn, KeepsWhatTheLogHolds) {
  support::WriteFile(DayLogPath(), "kept\n");
  const auto object = RunTool({"log", "on", "--json"}).Json();
  EXPECT_TRUE(object.value("on", false));
  EXPECT_FALSE(object.value("changed", true));
  EXPECT_EQ("log on", object.value("command", ""));
  EXPECT_EQ(0U, support::DayLog().find("kept\n"));
}

TEST(LogOff, RemovesTodaysLog) {
  support::SwitchLogOn();
  EXPECT_EQ("log off: " + DayLogPath() + "\n", RunTool({"log", "off"}).out);
  EXPECT_NE(0, access(DayLogPath().c_str(), F_OK));
  EXPECT_EQ("log already off: " + DayLogPath() + "\n",
            RunTool({"log", "off"}).out);
}

TEST(Log, ALinkInItsPlaceIsLeftAlone) {
  support::WriteFile("/tmp/precious", "mine\n");
  ASSERT_EQ(0, symlink("/tmp/precious", DayLogPath().c_str()));
  for (const char* verb : {"on", "off", "follow"}) {
    const Finished run = RunTool({"log", verb});
    EXPECT_EQ(4, run.exit_code) << verb;
    EXPECT_EQ("", run.out);
    EXPECT_NE(std::string::npos, run.err.find("no regular file")) << run.err;
  }
  EXPECT_EQ("mine\n", support::ReadFile("/tmp/precious"));
  struct stat status {};
  ASSERT_EQ(0, lstat(DayLogPath().c_str(), &status));
  EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST(LogFollow, PrintsTheDayFromItsStartAndWhatIsAdded) {
  support::WriteFile(DayLogPath(), "first\n");
  ToolRun tool({"log", "follow", "--from-start"});
  ASSERT_TRUE(tool.WaitForOutput("first\n"));
  Append(DayLogPath(), "sec");
  Append(DayLogPath(), "ond\n");
  EXPECT_TRUE(tool.WaitForOutput("\nsecond\n"));
  tool.Signal(SIGINT);
  EXPECT_EQ(SIGINT, tool.Wait().signal);
}

TEST(LogFollow, LeavesOutWhatWasThereBefore) {
  support::WriteFile(DayLogPath(), "old\n");
  ToolRun tool({"log", "follow"});
  std::string seen;
  for (int i = 0; i < 300 && seen.empty(); ++i) {
    Append(DayLogPath(), "new\n");
    usleep(100000);
    seen = tool.Output();
  }
  EXPECT_NE(std::string::npos, seen.find("new\n"));
  EXPECT_EQ(std::string::npos, seen.find("old\n"));
}

TEST(LogFollow, WaitsForALogAndForTheNextOne) {
  ToolRun tool({"log", "follow"});
  ASSERT_TRUE(tool.WaitForError("the log is off; waiting"));
  support::WriteFile(DayLogPath(), "first\n");
  ASSERT_TRUE(tool.WaitForOutput("first\n"));
  RunTool({"log", "off"});
  support::WriteFile(DayLogPath(), "of another file\n");
  EXPECT_TRUE(tool.WaitForOutput("of another file\n"));
}

TEST(LogFollow, JsonIsOneObjectALine) {
  support::WriteFile(DayLogPath(), "a \"quoted\" line\n");
  ToolRun tool({"log", "follow", "--from-start", "--json"});
  EXPECT_TRUE(tool.WaitForOutput(
      R"({"ok":true,"command":"log follow","line":"a \"quoted\" line"})"
      "\n"));
}

TEST(LogFollow, ALogCannotSteerTheTerminal) {
  support::WriteFile(DayLogPath(), "\033[2Jgone\n");
  ToolRun tool({"log", "follow", "--from-start"});
  EXPECT_TRUE(tool.WaitForOutput("?[2Jgone\n"));
}

// Moves to a time zone where midnight is `seconds` away.
void MoveMidnight(int seconds) {
  constexpr int kDay = 86400;
  const int now = static_cast<int>(time(nullptr) % kDay);
  const int ahead = kDay - seconds - now;
  char zone[32];
  snprintf(zone, sizeof zone, "TST%c%d:%02d:%02d", ahead < 0 ? '+' : '-',
           abs(ahead) / 3600, abs(ahead) / 60 % 60, abs(ahead) % 60);
  setenv("TZ", zone, 1);
  tzset();
}

TEST(LogFollow, GoesOnWithTheNewDaysLogAtMidnight) {
  MoveMidnight(4);
  const std::string old_day = DayLogPath();
  const std::string new_day = DayLogPath(1);
  support::WriteFile(old_day, "yesterday\n");
  support::WriteFile(new_day, "today\n");
  ToolRun tool({"log", "follow", "--from-start"});
  ASSERT_TRUE(tool.WaitForOutput("yesterday\n"));
  EXPECT_TRUE(tool.WaitForOutput("today\n"));
  ASSERT_EQ(new_day, DayLogPath()) << "it changed before midnight";
}

}  // namespace
