// Small helpers around files, for tests.
#ifndef TESTS_SUPPORT_TEMP_FILE_H_
#define TESTS_SUPPORT_TEMP_FILE_H_

#include <string>

namespace support {

// The whole file; empty when it cannot be read.
std::string ReadFile(const std::string& path);

void WriteFile(const std::string& path, const std::string& content);

// The path of the diagnostic log of the day that is `days` from today.
std::string DayLogPath(int days = 0);

// Switches the day's diagnostic log on, in the test's own /tmp.
void SwitchLogOn();

// What the log holds.
std::string DayLog();

}  // namespace support

#endif  // TESTS_SUPPORT_TEMP_FILE_H_
