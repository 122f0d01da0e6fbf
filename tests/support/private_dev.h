// A /dev of the test's own, for port names that machines do not have.
#ifndef TESTS_SUPPORT_PRIVATE_DEV_H_
#define TESTS_SUPPORT_PRIVATE_DEV_H_

#include <string>

namespace support {

// Covers /dev, for this test's world alone, by one that holds pseudo-terminals,
// null and what LinkDevice adds.
void CoverDev();

// Makes /dev/name a link to target, as a udev rule would ("COM3", "pts/7").
void LinkDevice(const std::string& name, const std::string& target);

}  // namespace support

#endif  // TESTS_SUPPORT_PRIVATE_DEV_H_
