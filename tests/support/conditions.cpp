#include "support/conditions.h"

#include <unistd.h>

#include <chrono>

#include "cx_file_lock/cx_file_lock.h"

namespace support {

bool Eventually(const std::function<bool()>& condition) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::seconds(40);
  while (!condition()) {
    if (Clock::now() > deadline) return false;
    usleep(20000);  // most conditions start a program to look
  }
  return true;
}

bool LockIsFree() {
  const int32_t lock = cx_file_lock();
  cx_file_unlock(lock);
  return lock >= 0;
}

}  // namespace support
