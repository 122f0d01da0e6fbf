// Small helpers around files, for tests.
#ifndef TESTS_SUPPORT_TEMP_FILE_H_
#define TESTS_SUPPORT_TEMP_FILE_H_

#include <gtest/gtest.h>

#include <ctime>
#include <fstream>
#include <sstream>
#include <string>

namespace support {

// The whole file; empty when it cannot be read.
inline std::string ReadFile(const std::string& path) {
  // Through a stream: an iterator throws when a process ends while it is read.
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

inline void WriteFile(const std::string& path, const std::string& content) {
  ASSERT_TRUE((std::ofstream(path) << content).flush().good()) << path;
}

// The path of the diagnostic log of the day that is `days` from today.
inline std::string DayLogPath(int days = 0) {
  const time_t when = time(nullptr) + days * 86400;
  char path[64];
  strftime(path, sizeof path, "/tmp/fplog_%Y%m%d.log", localtime(&when));
  return path;
}

// Switches the day's diagnostic log on, in the test's own /tmp.
inline void SwitchLogOn() { WriteFile(DayLogPath(), ""); }

// What the log holds.
inline std::string DayLog() { return ReadFile(DayLogPath()); }

}  // namespace support

#endif  // TESTS_SUPPORT_TEMP_FILE_H_
