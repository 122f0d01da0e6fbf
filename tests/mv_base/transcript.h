// What a test has seen, compared whole with what it should see.
#ifndef TESTS_MV_BASE_TRANSCRIPT_H_
#define TESTS_MV_BASE_TRANSCRIPT_H_

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <regex>
#include <sstream>
#include <string>

#include "support/temp_file.h"

// Compares with <directory>/<test>.txt. With MV_RENEW_EXPECTED in the
// environment the file is written anew: the difference is then to be read.
inline void ExpectTranscript(const std::string& directory,
                             const std::string& text) {
  const std::string test =
      testing::UnitTest::GetInstance()->current_test_info()->name();
  const std::string path = directory + test + ".txt";
  if (getenv("MV_RENEW_EXPECTED") != nullptr) support::WriteFile(path, text);
  EXPECT_EQ(support::ReadFile(path), text);
}

// The log since the last look, repeated lines once. Of its place a line keeps
// the module, in brackets when it names this process and thread too; what the
// loader of the algorithm library says is left out. No record may be in it, in
// hex or Base64.
inline std::string TakenLog() {
  const std::string self = std::to_string(getpid());
  const std::pair<std::regex, const char*> kShorter[] = {
      {std::regex(R"(^\d\d:\d\d:\d\d\.\d{3}  \[src/(\w+):\d+\])"), "$1"},
      {std::regex(R"(^(\w+)\[)" + self + ":" + self + R"(\] )"), "[$1] "},
      {std::regex(R"(pts/\d+)"), "pts/N"}};
  const std::string all = support::DayLog();
  const std::regex record("[0-9A-Fa-f]{12}|[A-Za-z0-9+/]{40}");
  EXPECT_FALSE(std::regex_search(all, record)) << all;
  std::istringstream log(all);
  std::string texts;
  std::string last;
  for (std::string line; std::getline(log, line); last = line) {
    for (const auto& [part, shorter] : kShorter) {
      line = std::regex_replace(line, part, shorter);
    }
    const bool of_loader = line.rfind("[mv_loadso]", 0) == 0;
    if (line != last && !of_loader) texts += line + "\n";
  }
  support::SwitchLogOn();
  return texts;
}

#endif  // TESTS_MV_BASE_TRANSCRIPT_H_
