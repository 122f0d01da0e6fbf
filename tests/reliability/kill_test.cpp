// The host is killed in the middle of a guided enrolment, with the real window
// on a display without a screen: the next host finds everything as it should.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "reliability/exported_calls.h"
#include "support/conditions.h"
#include "virtual_reader/random.h"

namespace {

using support::Bench;
using support::Eventually;
using support::ExportedCall;

const ExportedCall& Guided() {
  for (const ExportedCall& call : support::kExportedCalls) {
    if (std::string("FG_TipsGetTemplate") == call.name) return call;
  }
  abort();
}

class KilledHost : public testing::Test {
 protected:
  KilledHost() {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    std::filesystem::copy_file(
        PROMPT_PROGRAM, "/tmp/site/cx_capdlg",
        std::filesystem::copy_options::overwrite_existing);
    bench_.WaitForReplies();
  }

  pid_t StartHost() {
    const pid_t host = fork();
    if (host == 0) _exit(-MakeCall(Guided(), bench_).code);
    return host;
  }

  static int StatusOf(pid_t host) {
    int status = -1;
    waitpid(host, &status, 0);
    return status;
  }

  // How long an undisturbed call takes, in microseconds.
  int Duration() {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0, StatusOf(StartHost()));
    const auto taken = std::chrono::steady_clock::now() - start;
    return static_cast<int>(
        std::chrono::duration_cast<std::chrono::microseconds>(taken).count());
  }

  static void ExpectNoWindow(int segments) {
    EXPECT_TRUE(Eventually([] { return !support::PromptRuns(); }));
    EXPECT_LE(support::Segments(), segments);
    // A child that the host was just starting lets go when its program begins.
    EXPECT_TRUE(Eventually(support::LockIsFree));
  }

  Bench bench_;
};

TEST_F(KilledHost, AtAnyMomentLeavesAWorkingDriverAndNoWindow) {
  const int rounds = support::IsLongRun() ? 200 : 20;
  int duration_us = Duration();
  corvex::vreader::Random random(1);
  int killed = 0;
  for (int round = 0; round < rounds; ++round) {
    const pid_t host = StartHost();
    const int moment_us = random.Between(0, duration_us);
    SCOPED_TRACE("killed after " + std::to_string(moment_us) + " us");
    usleep(static_cast<useconds_t>(moment_us));
    kill(host, SIGKILL);
    killed += WIFSIGNALED(StatusOf(host)) ? 1 : 0;
    // The block that a killed host leaves is kept for the next.
    ExpectNoWindow(/*segments=*/1);
    bench_.RenewReader();
    // The shortest counts: on a busy machine one slow call must not move the
    // moments behind the others' ends.
    duration_us = std::min(duration_us, Duration());
    ExpectNoWindow(/*segments=*/0);
    bench_.RenewReader();
    if (HasFailure()) return;
  }
  printf("%d hosts killed within %d ms\n", killed, duration_us / 1000);
  EXPECT_GT(killed, rounds / 2);
}

}  // namespace
