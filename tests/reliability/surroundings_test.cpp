// A host and a machine that are not as a driver would wish them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <thread>
#include <vector>

#include "corvex_capdlg/stand_in.h"
#include "cx_file_lock/cx_file_lock.h"
#include "reliability/exported_calls.h"
#include "support/conditions.h"
#include "support/temp_file.h"

namespace {

using support::Bench;
using support::ExportedCall;
using support::kExportedCalls;

constexpr uid_t kNobody = 65534;

const ExportedCall& CallNamed(const std::string& name) {
  for (const ExportedCall& call : kExportedCalls) {
    if (name == call.name) return call;
  }
  throw std::invalid_argument(name);
}

int ResultOf(Bench& bench, const std::string& name) {
  return MakeCall(CallNamed(name), bench).code;
}

// What a child process makes of it, as its exit status.
int InChild(const std::function<int()>& work) {
  const pid_t child = fork();
  if (child == 0) _exit(-work());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? -WEXITSTATUS(status) : -1000;
}

// Fires every half millisecond and interrupts whatever waits.
class SignalStorm {
 public:
  SignalStorm() {
    struct sigaction action {};
    action.sa_handler = [](int) { ++g_signals; };
    sigaction(SIGALRM, &action, nullptr);
    Set(500);
  }
  ~SignalStorm() { Set(0); }
  static int Count() { return g_signals; }

 private:
  static void Set(int us) {
    const timeval period{0, us};
    const itimerval timer{period, period};
    setitimer(ITIMER_REAL, &timer, nullptr);
  }
  static std::atomic<int> g_signals;
};
std::atomic<int> SignalStorm::g_signals{0};

TEST(Surroundings, AStormOfSignalsBreaksNoCallForGood) {
  Bench bench;
  bench.WaitForReplies();
  int successes = 0;
  {
    const SignalStorm storm;
    for (int round = 0; round < 200; ++round) {
      for (const char* const name :
           {"FG_GetDevVersion", "FG_GetFeature", "FG_GetTemplate"}) {
        const int code = ResultOf(bench, name);
        // An interrupted wait for a reply is a reply that did not come.
        EXPECT_TRUE(code == 0 || code == -11 || code == -14 || code == -8 ||
                    code == -10)
            << name << ' ' << code;
        successes += code == 0;
        ASSERT_TRUE(support::LockIsFree());
      }
    }
  }
  EXPECT_GT(SignalStorm::Count(), 100);
  EXPECT_GT(successes, 0);
  // A reader may still be answering the request that was given up last.
  bench.RenewReader();
  EXPECT_EQ(0, ResultOf(bench, "FG_GetDevVersion"));
}

TEST(Surroundings, ChildrenThatAnotherThreadForksDoNotKeepTheLock) {
  Bench bench;
  constexpr size_t kChildren = 60;
  std::atomic<bool> ends{false};
  std::vector<pid_t> children;
  std::thread forker([&] {
    while (children.size() < kChildren) {
      const pid_t child = fork();
      if (child == 0) {
        pause();
        _exit(0);
      }
      children.push_back(child);
      usleep(500);
    }
    ends = true;
  });
  while (!ends) EXPECT_EQ(0, ResultOf(bench, "FG_GetDevVersion"));
  forker.join();
  EXPECT_TRUE(support::LockIsFree());
  for (const pid_t child : children) {
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
}

TEST(Surroundings, NoProgramThatAHostStartsInheritsWhatTheDriverOpened) {
  Bench bench;
  support::SwitchLogOn();
  for (const ExportedCall& call : kExportedCalls) {
    // The double of the algorithm library is no part of the driver.
    if (std::string(call.name) == "FG_FpMatch_InTheLibrary") continue;
    EXPECT_EQ(0, MakeCall(call, bench).code) << call;
    EXPECT_EQ(0, bench.Report().kept_on_exec) << call;
  }
}

TEST(Surroundings, AHostThatIgnoresItsChildrenIsGuidedAllTheSame) {
  Bench bench;
  signal(SIGCHLD, SIG_IGN);
  EXPECT_EQ(0, ResultOf(bench, "FG_TipsGetTemplate"));
  EXPECT_TRUE(support::StandInNoted("start 10 1 30"));
  EXPECT_TRUE(support::Eventually([] { return !support::PromptRuns(); }));
  EXPECT_EQ(0, support::Segments());
}

TEST(Surroundings, AnotherUserMayFollowAFirstOneWithAStrictUmask) {
  Bench bench;
  umask(077);
  EXPECT_EQ(0, ResultOf(bench, "FG_GetDevVersion"));
  ASSERT_EQ(0, chmod(bench.PortPath().c_str(), 0666));
  EXPECT_EQ(0, InChild([&] {
              if (setuid(kNobody) != 0) return -1;
              return ResultOf(bench, "FG_GetDevVersion");
            }));
}

TEST(Surroundings, AReadOnlyTmpServesOnceTheLockFileExists) {
  Bench bench;
  ASSERT_EQ(0,
            mount(nullptr, "/tmp", nullptr, MS_REMOUNT | MS_RDONLY, nullptr));
  EXPECT_EQ(-14, ResultOf(bench, "FG_GetDevVersion"));
  ASSERT_EQ(0, mount(nullptr, "/tmp", nullptr, MS_REMOUNT, nullptr));
  support::WriteFile(kCallLockPath, "");
  support::SwitchLogOn();
  ASSERT_EQ(0,
            mount(nullptr, "/tmp", nullptr, MS_REMOUNT | MS_RDONLY, nullptr));
  EXPECT_EQ(0, ResultOf(bench, "FG_GetDevVersion"));
  EXPECT_EQ("", support::DayLog());
}

TEST(Surroundings, AFullTmpCostsTheLogAndNothingElse) {
  Bench bench;
  support::SwitchLogOn();
  const std::string block(4096, 'x');
  const int file = open("/tmp/filler", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(0, mount(nullptr, "/tmp", nullptr, MS_REMOUNT, "size=32m"));
  while (write(file, block.data(), block.size()) > 0) {
  }
  ASSERT_EQ(ENOSPC, errno);
  close(file);
  EXPECT_EQ(0, ResultOf(bench, "FG_GetDevVersion"));
  EXPECT_EQ("", support::DayLog());
}

TEST(Surroundings, ALinkInPlaceOfTheLockIsRefusedAndItsTargetLeftAlone) {
  Bench bench;
  unlink(kCallLockPath);
  ASSERT_EQ(0, symlink("/tmp/made_by_us", kCallLockPath));
  EXPECT_EQ(-14, ResultOf(bench, "FG_GetDevVersion"));
  EXPECT_NE(0, access("/tmp/made_by_us", F_OK));
}

TEST(Surroundings, ALogThatAnotherUserOwnsIsLeftAlone) {
  Bench bench;
  support::SwitchLogOn();
  ASSERT_EQ(0, chmod(support::DayLogPath().c_str(), 0600));
  ASSERT_EQ(0, chmod(bench.PortPath().c_str(), 0666));
  EXPECT_EQ(0, InChild([&] {
              if (setuid(kNobody) != 0) return -1;
              return ResultOf(bench, "FG_GetDevVersion");
            }));
  EXPECT_EQ("", support::DayLog());
}

}  // namespace
