// What tests wait for.
#ifndef TESTS_SUPPORT_CONDITIONS_H_
#define TESTS_SUPPORT_CONDITIONS_H_

#include <unistd.h>

#include <functional>

#include "cx_file_lock/cx_file_lock.h"

namespace support {

// Whether a condition comes true; given up after 40 seconds and more, so that
// only a failing test takes them.
inline bool Eventually(const std::function<bool()>& condition) {
  for (int i = 0; i < 2000; ++i) {
    if (condition()) return true;
    usleep(20000);  // most conditions start a program to look
  }
  return false;
}

// Whether the call lock can be had.
inline bool LockIsFree() {
  const int32_t lock = cx_file_lock();
  cx_file_unlock(lock);
  return lock >= 0;
}

}  // namespace support

#endif  // TESTS_SUPPORT_CONDITIONS_H_
