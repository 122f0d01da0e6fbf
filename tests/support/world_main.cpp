// main() of every test program. The driver's lock, log and shared segment are
// machine-wide, so each test process moves into mount, IPC and PID namespaces
// of its own with an empty /tmp: tests run side by side and never meet.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/namespaces.h"

namespace {

constexpr int kSkipped = 77;
constexpr int kOwnNamespaces = CLONE_NEWNS | CLONE_NEWIPC | CLONE_NEWPID;

bool MountOwnDirectories() {
  return support::MountOwnTmp() &&
         mount("proc", "/proc", "proc", 0, nullptr) == 0;
}

int ExitCodeOf(int status) {
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  fprintf(stderr, "test ended by signal %d (%s)\n", WTERMSIG(status),
          strsignal(WTERMSIG(status)));
  return 128 + WTERMSIG(status);
}

// Process 1 of the new world: cannot be killed by default signals, so it only
// reaps, and the test is its child.
int RunAsInit(int (*run)()) {
  if (!MountOwnDirectories()) {
    perror("private /tmp and /proc");
    return kSkipped;
  }
  const pid_t test = fork();
  if (test == 0) exit(run());
  int status = 0;
  while (true) {
    const pid_t ended = wait(&status);
    if (ended == test) return ExitCodeOf(status);
    if (ended < 0) return 1;
  }
}

int RunInOwnWorld(int (*run)()) {
  if (!support::EnterNamespaces(kOwnNamespaces)) {
    perror("skipped: this machine gives no private namespaces");
    return kSkipped;
  }
  const pid_t init = fork();
  if (init < 0) return 1;
  if (init == 0) _exit(RunAsInit(run));
  int status = 0;
  waitpid(init, &status, 0);
  fflush(nullptr);
  // Not exit: the leak checker would start a helper process, which cannot be
  // born any more in a PID namespace whose first process has ended.
  _exit(ExitCodeOf(status));
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const auto run = [] { return RUN_ALL_TESTS(); };
  if (testing::GTEST_FLAG(list_tests)) return run();
  return RunInOwnWorld(run);
}
