// Hosts that a driver meets: killed ones, many at once, one that runs for
// years, and those with habits of their own.
#include <malloc.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "corvex_capdlg/stand_in.h"
#include "reliability/driver_calls.h"
#include "support/conditions.h"

namespace {

class Host : public DriverTest {
 protected:
  template <typename Work>
  static pid_t Start(Work work) {
    const pid_t host = fork();
    if (host == 0) _exit(work());
    return host;
  }
  static int StatusOf(pid_t host) {
    int status = -1;
    waitpid(host, &status, 0);
    return status;
  }
};

// With the real window, on a display without a screen, where there is one: it
// sees that it is alone, which the stand-in does not.
TEST_F(Host, KilledAtAnyMomentLeavesAWorkingDriverAndNoWindow) {
#ifdef MV_WINDOW
  setenv("QT_QPA_PLATFORM", "offscreen", 1);
  std::filesystem::copy_file(MV_WINDOW, "/tmp/site/cx_capdlg",
                             std::filesystem::copy_options::overwrite_existing);
#endif
  settle_ = nullptr;  // the reader is not the host's
  const auto enrol = [&] { return -Call(kGuided).code; };
  int killed = 0;
  for (unsigned int ms = 0; ms < 240; ms += 30) {
    SCOPED_TRACE("killed after " + std::to_string(ms) + " ms");
    const pid_t host = Start(enrol);
    usleep(ms * 1000);
    kill(host, SIGKILL);
    killed += WIFSIGNALED(StatusOf(host)) ? 1 : 0;
#ifdef MV_WINDOW
    ExpectNoPrompt();
#endif
    // A child that it was just starting lets go when its program begins.
    EXPECT_TRUE(support::Eventually(support::LockIsFree));
    RenewReader();
    EXPECT_EQ(0, StatusOf(Start(enrol)));
    EXPECT_EQ(0, Blocks());
    RenewReader();
  }
  EXPECT_GT(killed, 0);
}

TEST_F(Host, OneOfManyReachesTheReaderAndNoneIsLost) {
  constexpr int kHosts = 8, kCalls = 50;
  RenewReader();
  settle_ = nullptr;
  for (int i = 0; i < kHosts; ++i) {
    Start([&] {
      for (int done = 0; done < kCalls;) {
        const int code = Call("FG_GetDevSn").code;
        if (code != 0 && code != -14) return 1;
        if (code == 0) ++done;
        if (code != 0) usleep(1000);  // another host has the reader
      }
      return 0;
    });
  }
  for (int i = 0; i < kHosts; ++i) EXPECT_EQ(0, StatusOf(-1));
  EXPECT_EQ(kHosts * kCalls, reader_->Counts().requests);
  EXPECT_EQ(std::vector<std::string>{}, reader_->Errors());
  ExpectNothingLeft();
}

TEST_F(Host, RunningForYearsLosesNoMemory) {
  // One heap: which of several a thread gets is a matter of chance.
  mallopt(M_ARENA_MAX, 1);
  size_t in_use[2] = {};
  for (size_t& bytes : in_use) {
    for (int round = 0; round < 40; ++round) {
      for (const char* call :
           {"FG_GetFeature", "FG_GetTemplate", "DEV_CommCall", "FG_FpMatch"}) {
        EXPECT_EQ(0, Call(call).code) << call;
      }
      EXPECT_TRUE(round % 10 != 0 || Call(kGuided).code == 0);
      site_.Unload();
      site_.Load();
      RenewReader();
    }
    const struct mallinfo2 info = mallinfo2();
    bytes = info.uordblks + info.hblkhd;
  }
  EXPECT_LT(in_use[1], in_use[0] + 40 * 16);  // less than a block each time
  ExpectNoPrompt();
  EXPECT_EQ(0, Blocks());
}

TEST_F(Host, ForkingInMidCallKeepsNoLock) {
  static pid_t child = 0;
  settle_ = [](void*) {
    if (child == 0) child = Start([] { return pause(); });
  };
  reader_->Run("silence");
  EXPECT_EQ(-11, Call("FG_GetDevSn").code);
  ExpectNothingLeft();
  ASSERT_GT(child, 0);
  kill(child, SIGKILL);
}

TEST_F(Host, IgnoringItsChildrenIsGuidedAllTheSame) {
  signal(SIGCHLD, SIG_IGN);
  EXPECT_EQ(0, Call(kGuided).code);
  EXPECT_TRUE(support::StandInNoted("quit"));
  ExpectNoPrompt();
}

}  // namespace
