#include "support/temp_file.h"

#include <gtest/gtest.h>

#include <ctime>
#include <fstream>
#include <sstream>

namespace support {

std::string ReadFile(const std::string& path) {
  // Through a stream: an iterator throws when a process ends while it is read.
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content;
  ASSERT_TRUE(file.flush().good()) << path;
}

std::string DayLogPath(int days) {
  const time_t when = time(nullptr) + days * 86400;
  tm local{};
  localtime_r(&when, &local);
  char path[64];
  strftime(path, sizeof path, "/tmp/fplog_%Y%m%d.log", &local);
  return path;
}

void SwitchLogOn() { WriteFile(DayLogPath(), ""); }

std::string DayLog() { return ReadFile(DayLogPath()); }

}  // namespace support
