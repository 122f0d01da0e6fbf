#include "smo_mutex_lock.h"

#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "mv_base/lock_file.h"

namespace {

constexpr useconds_t kRetryPauseUs = 10000;

int64_t WallClock(int64_t per_second) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<int64_t>(now.tv_sec) * per_second +
         now.tv_nsec / (1000000000 / per_second);
}

}  // namespace

int32_t CxMutexCls::mutex_init(const char* name, int32_t timeout_ms) {
  timeout_ms_ = timeout_ms;
  name_ = name;
  return 0;
}

int32_t CxMutexCls::mutex_lock() { return priMutexLock_linux() < 0 ? -1 : 0; }

int32_t CxMutexCls::mutex_unlock() { return priMutexUnLock_linux(); }

int32_t CxMutexCls::mutex_uninit() { return 0; }

int32_t CxMutexCls::priMutexLock_linux() {
  int32_t start_mark = 0;
  priMutexUnLock_linux();
  const int file = corvex::OpenLockFile(name_.c_str());
  if (file < 0) return -1;
  while (flock(file, LOCK_EX | LOCK_NB) != 0) {
    const int reason = errno;
    // Deliberate: the time comes before the reason.
    if (priUseTime(start_mark, kMilliseconds) >= timeout_ms_ ||
        reason != EAGAIN) {
      close(file);
      return -1;
    }
    usleep(kRetryPauseUs);
  }
  lock_file_ = file;
  return file;
}

int32_t CxMutexCls::priMutexUnLock_linux() {
  if (lock_file_ < 0) return 0;
  flock(lock_file_, LOCK_UN | LOCK_NB);
  close(lock_file_);
  lock_file_ = -1;
  return 0;
}

int32_t CxMutexCls::priUseTime(int32_t& start_mark, int32_t unit) {
  struct Watch {
    int64_t per_second, period;
  };
  static constexpr Watch kWatches[] = {{1, 1000},
                                       {1000, 1000000},
                                       {1000000, 1000000000},
                                       {1000000000, 1000000000}};
  if (unit < kSeconds || unit > kNanoseconds) return 0;
  const Watch& watch = kWatches[unit];
  const auto reading =
      static_cast<int32_t>(WallClock(watch.per_second) % watch.period);
  if (start_mark == 0) start_mark = reading;
  const int32_t elapsed = reading - start_mark;
  return elapsed < 0 ? elapsed + static_cast<int32_t>(watch.period) : elapsed;
}
