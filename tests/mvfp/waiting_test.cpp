// What is shown while the tool waits, and how a wait ends early.
#include <csignal>

#include "support/conditions.h"
#include "support/pty.h"
#include "tool.h"

namespace {

using support::DayLogPath;
using support::Eventually;
using support::ReadFile;

// The record takes half a second: the next call must not read its rest.
TEST_F(Tool, CtrlCFreesPortAndReaderWithinAReply) {
  corvex::vreader::Options slow;
  slow.baud = 9600;
  corvex::vreader::VirtualReader reader(slow);
  setenv("MVFP_PORT", reader.PortName().c_str(), 1);
  const termios before = reader.TerminalSettings();
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const int n = reader.Counts().captures;
    reader.Run("press 1");
    const pid_t tool = Start("exec mvfp capture --json");
    EXPECT_TRUE(Eventually([&] { return reader.Counts().captures > n; }));
    kill(tool, signal);
    const Finished run = Wait(tool);
    EXPECT_EQ(-signal, run.exit_code) << "a shell's loop would go on";
    EXPECT_NE(std::string::npos, run.out.find("\"exit_code\":1")) << run.out;
    EXPECT_TRUE(support::LockIsFree());
    EXPECT_TRUE(support::SameSettings(before, reader.TerminalSettings()));
    Expect("mvfp version", 0, "v2.15", "");
  }
}

TEST_F(Tool, AKilledToolTakesItsCallWithIt) {
  const pid_t tool = Start("exec mvfp capture");
  EXPECT_TRUE(Eventually([&] { return reader_.Counts().probes > 0; }));
  kill(tool, SIGKILL);
  Wait(tool);
  EXPECT_TRUE(Eventually(support::LockIsFree));
}

// Returns when the terminal has shown it.
void AwaitText(const support::Pty& terminal, const std::string& text) {
  std::string shown;
  while (shown.find(text) == std::string::npos) shown += terminal.Receive(1);
}

TEST_F(Tool, ATerminalShowsWhatIsAwaited) {
  setenv("TERM", "xterm", 1);
  const support::Pty terminal;
  const std::string to_terminal = " 2>/dev/" + terminal.Name();
  pid_t tool = Start("exec mvfp capture -t 30" + to_terminal);
  AwaitText(terminal, " s left: press the finger on the sensor");
  reader_.Run("press 1");
  EXPECT_EQ(0, Wait(tool).exit_code);
  AwaitText(terminal, "\r\033[K");
  reader_.Run("lift");
  tool = Start("exec mvfp enroll" + to_terminal);
  AwaitText(terminal, "s left: press three times, lift between; a beep takes");
  support::SwitchLogOn();
  AwaitText(terminal, "s left: press 1 of 3");
  reader_.Run("press 1; hold capture");
  AwaitText(terminal, "s left: lift the finger, then press 2 of 3");
  reader_.Run("press 1");
  EXPECT_EQ(0, Wait(tool).exit_code);
  reader_.Run("silence on version");
  tool = Start("exec mvfp version" + to_terminal);
  AwaitText(terminal, "mvfp: waiting for the reader (1 s)");
  kill(tool, SIGINT);
  EXPECT_EQ(-SIGINT, Wait(tool).exit_code);
}

TEST_F(Tool, LongWorkShowsHowFarItIsAndIsEndedWhole) {
  setenv("TERM", "xterm", 1);
  const support::Pty terminal;
  const pid_t tool = Start(
      "mkfifo /tmp/lines; while printf 'a\\tb\\tEgAA\\n'; do :; done "
      ">/tmp/lines & exec mvfp gallery import /tmp/lines -g /tmp/g 2>/dev/" +
      terminal.Name());
  AwaitText(terminal, "mvfp: reading lines: ");
  kill(tool, SIGINT);
  EXPECT_EQ(-SIGINT, Wait(tool).exit_code);
  AwaitText(terminal, "\r\033[Kmvfp: interrupted; nothing was changed");
  EXPECT_NE(0, access("/tmp/g", F_OK));
}

TEST_F(Tool, LogFollowGoesOnWithAnotherLogAndTheNextDays) {
  // Into a time zone where midnight is near.
  const std::string ahead =
      Run("date -ud @$((86388 - $(date +%s) % 86400)) +%T | tr -d '\\n'").out;
  setenv("TZ", ("TST-" + ahead).c_str(), 1);
  tzset();
  const std::string today = DayLogPath();
  support::WriteFile(DayLogPath(1), "tomorrow\n");
  const pid_t tool = Start("exec mvfp log follow");
  const auto shows = [](const char* file, const char* text) {
    return Eventually(
        [=] { return ReadFile(file).find(text) != std::string::npos; });
  };
  EXPECT_TRUE(shows("/tmp/err", "the log is off; waiting for: mvfp log on"));
  support::WriteFile(today, "\033[2Jone\n");
  EXPECT_TRUE(shows("/tmp/out", "?[2Jone\n"));
  unlink(today.c_str());
  support::WriteFile(today, "another\n");
  EXPECT_TRUE(shows("/tmp/out", "another\n"));
  EXPECT_TRUE(shows("/tmp/out", "tomorrow\n"));
  kill(tool, SIGINT);
  EXPECT_EQ(-SIGINT, Wait(tool).exit_code);
}

}  // namespace
