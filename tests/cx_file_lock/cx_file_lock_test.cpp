#include "cx_file_lock/cx_file_lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/temp_file.h"

namespace {

mode_t ModeAfterACall() {
  EXPECT_EQ(0, cx_file_unlock(cx_file_lock()));
  struct stat status {};
  EXPECT_EQ(0, stat(kCallLockPath, &status));
  return status.st_mode & 0777;
}

TEST(CallLock, OneHolderAtATime) {
  const int32_t held = cx_file_lock();
  ASSERT_GE(held, 0);
  EXPECT_EQ(-1, cx_file_lock());
  EXPECT_EQ(0, cx_file_unlock(held));
  EXPECT_EQ(-1, fcntl(held, F_GETFD));
  EXPECT_GE(cx_file_lock(), 0);
  EXPECT_EQ(0, cx_file_unlock(-1));
  EXPECT_EQ(-1, cx_file_unlock(9999));
}

TEST(CallLock, AStrictUmaskOfTheFirstUserLocksNobodyOut) {
  umask(077);
  EXPECT_EQ(0666u, ModeAfterACall());
  ASSERT_EQ(0, chmod(kCallLockPath, 0640));
  EXPECT_EQ(0640u, ModeAfterACall());  // a file that was there keeps its own
}

TEST(CallLock, ALinkInThePublicDirectoryIsNotFollowed) {
  ASSERT_EQ(0, symlink("/tmp/made_by_us", kCallLockPath));
  EXPECT_EQ(-1, cx_file_lock());
  EXPECT_NE(0, access("/tmp/made_by_us", F_OK));
  support::WriteFile("/tmp/made_by_us", "");
  EXPECT_EQ(-1, cx_file_lock());
}

// The prompt window is such a program.
TEST(CallLock, AProgramThatOutlivesAKilledHostHoldsNothing) {
  int ready[2];
  ASSERT_EQ(0, pipe(ready));
  const pid_t host = fork();
  if (host == 0) {
    cx_file_lock();
    if (fork() == 0) execlp("sleep", "sleep", "60", nullptr);
    usleep(200000);  // the program has started and let go of what it must
    (void)!write(ready[1], "x", 1);
    pause();
  }
  char byte = 0;
  ASSERT_EQ(1, read(ready[0], &byte, 1));
  EXPECT_EQ(-1, cx_file_lock());
  kill(host, SIGKILL);
  waitpid(host, nullptr, 0);
  EXPECT_GE(cx_file_lock(), 0);
}

}  // namespace
