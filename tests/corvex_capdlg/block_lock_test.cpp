#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "smo_mutex_lock.h"
#include "support/temp_file.h"

namespace {

constexpr char kPath[] = "/tmp/block.lock";

class Lock : public CxMutexCls {
 public:
  explicit Lock(const char* path = kPath, int32_t timeout_ms = 0) {
    mutex_init(path, timeout_ms);
  }
  ~Lock() { mutex_unlock(); }
  int File() const { return static_cast<int>(lock_file_); }
  int32_t UseTime(int32_t* mark, int32_t unit) {
    return priUseTime(*mark, unit);
  }
};

TEST(BlockLock, ExcludesAnotherHolderUntilReleased) {
  Lock first, second;
  EXPECT_EQ(0, first.mutex_lock());
  EXPECT_EQ(-1, second.mutex_lock());
  EXPECT_EQ(0, first.mutex_unlock());
  EXPECT_EQ(0, second.mutex_lock());
}

TEST(BlockLock, IsHadWhenItsHolderDiesWithinTheTimeout) {
  int locked[2];
  ASSERT_EQ(0, pipe(locked));
  if (fork() == 0) {
    Lock holder;
    const char result = holder.mutex_lock() == 0 ? 'y' : 'n';
    if (write(locked[1], &result, 1) != 1) _exit(1);
    usleep(100000);
    _exit(0);
  }
  char result = 0;
  ASSERT_EQ(1, read(locked[0], &result, 1));
  ASSERT_EQ('y', result);
  Lock lock(kPath, 60000);
  EXPECT_EQ(0, lock.mutex_lock());
}

TEST(BlockLock, LockingTwiceDoesNotBlockItself) {
  Lock lock;
  EXPECT_EQ(0, lock.mutex_lock());
  EXPECT_EQ(0, lock.mutex_lock());
}

TEST(BlockLock, AMissingDirectoryFailsAtOnce) {
  Lock lock("/tmp/none/block.lock", 1 << 30);
  EXPECT_EQ(-1, lock.mutex_lock());
  EXPECT_EQ(0, lock.mutex_unlock());
}

TEST(BlockLock, IsOpenToOtherUsersWhateverTheUmask) {
  umask(077);
  Lock lock;
  EXPECT_EQ(0, lock.mutex_lock());
  struct stat info {};
  ASSERT_EQ(0, stat(kPath, &info));
  EXPECT_EQ(0666u, info.st_mode & 0777);
}

TEST(BlockLock, IsNotInheritedByAStartedProgram) {
  Lock lock;
  ASSERT_EQ(0, lock.mutex_lock());
  EXPECT_NE(0, fcntl(lock.File(), F_GETFD) & FD_CLOEXEC);
}

TEST(BlockLock, FollowsNoLinkAndWaitsForNoPipe) {
  support::WriteFile("/tmp/target", "");
  ASSERT_EQ(0, symlink("/tmp/target", kPath));
  EXPECT_EQ(-1, Lock().mutex_lock());
  ASSERT_EQ(0, mkfifo("/tmp/pipe", 0666));
  Lock pipe("/tmp/pipe");
  EXPECT_EQ(0, pipe.mutex_lock());
}

// 0 means "not held": the lock would stay taken for ever.
TEST(BlockLock, IsReleasedInAHostWithoutStandardInput) {
  close(0);
  Lock first, second;
  EXPECT_EQ(0, first.mutex_lock());
  EXPECT_EQ(0, first.mutex_unlock());
  EXPECT_EQ(0, second.mutex_lock());
}

TEST(BlockLock, TheWatchStartsAtItsFirstReading) {
  Lock lock;
  for (int32_t unit = 0; unit <= 3; ++unit) {
    int32_t mark = 0;
    EXPECT_EQ(0, lock.UseTime(&mark, unit)) << unit;
  }
  int32_t mark = 0;
  EXPECT_EQ(0, lock.UseTime(&mark, 4));
  EXPECT_EQ(0, mark);
}

TEST(BlockLock, TheWatchGoesOnPastItsPeriod) {
  Lock lock;
  int32_t mark = 999;  // seconds run from 0 to 999
  const int32_t elapsed = lock.UseTime(&mark, 0);
  EXPECT_GE(elapsed, 0);
  EXPECT_LT(elapsed, 1000);
  EXPECT_EQ(999, mark);
}

}  // namespace
