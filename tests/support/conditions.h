// What tests wait for.
#ifndef TESTS_SUPPORT_CONDITIONS_H_
#define TESTS_SUPPORT_CONDITIONS_H_

#include <functional>

namespace support {

// Whether a condition comes true; given up after 40 seconds, so that only a
// failing test takes them.
bool Eventually(const std::function<bool()>& condition);

// Whether the call lock can be had.
bool LockIsFree();

}  // namespace support

#endif  // TESTS_SUPPORT_CONDITIONS_H_
