#include "mv_base/clock.h"

#include <sys/select.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <ctime>

int64_t cx_gettid() { return syscall(SYS_gettid); }

int64_t get_ms_tick() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

void MvSleep(uint32_t ms) {
  // Deliberate: all of it in the microseconds; the kernel carries it over.
  timeval wait{};
  wait.tv_usec = static_cast<int32_t>(ms * 1000u);
  select(0, nullptr, nullptr, nullptr, &wait);
}
