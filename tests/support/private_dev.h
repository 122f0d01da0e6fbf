// Port names that machines do not have, in the /dev of the test's own world.
#ifndef TESTS_SUPPORT_PRIVATE_DEV_H_
#define TESTS_SUPPORT_PRIVATE_DEV_H_

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

namespace support {

// Makes /dev/name a link to target, as a udev rule would ("COM3", "pts/7").
inline void LinkDevice(const std::string& name, const std::string& target) {
  ASSERT_EQ(0, symlink(target.c_str(), ("/dev/" + name).c_str())) << name;
}

}  // namespace support

#endif  // TESTS_SUPPORT_PRIVATE_DEV_H_
