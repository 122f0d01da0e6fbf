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

namespace {

constexpr int kSkipped = 77;

bool WriteFile(const char* path, const char* text) {
  FILE* const file = fopen(path, "w");
  if (file == nullptr) return false;
  const bool written = fputs(text, file) >= 0;
  return fclose(file) == 0 && written;
}

// Without root the namespaces need a user namespace around them.
bool EnterNamespaces() {
  constexpr int kOwn = CLONE_NEWNS | CLONE_NEWIPC | CLONE_NEWPID;
  if (unshare(kOwn) == 0) return true;
  char uid_map[64];
  char gid_map[64];
  snprintf(uid_map, sizeof uid_map, "0 %u 1\n", geteuid());
  snprintf(gid_map, sizeof gid_map, "0 %u 1\n", getegid());
  return unshare(kOwn | CLONE_NEWUSER) == 0 &&
         WriteFile("/proc/self/setgroups", "deny") &&
         WriteFile("/proc/self/uid_map", uid_map) &&
         WriteFile("/proc/self/gid_map", gid_map);
}

bool MountOwnDirectories() {
  return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777") == 0 &&
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
  if (!EnterNamespaces()) {
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
