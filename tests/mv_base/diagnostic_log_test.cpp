#include "mv_base/diagnostic_log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <regex>
#include <thread>
#include <vector>

#include "support/temp_file.h"

#define MV_LOG_SOURCE "src/mv_base"

namespace {

using support::DayLog;
using support::DayLogPath;
using support::SwitchLogOn;

bool g_files_vanish = false;
std::atomic<int> g_writes{0};

}  // namespace

// The driver's look at the log; a file may vanish right behind it.
extern "C" int access(const char* path, int mode) noexcept {
  const int found = faccessat(AT_FDCWD, path, mode, 0);
  if (g_files_vanish) unlink(path);
  return found;
}

// What comes in two parts may get another record between them.
ssize_t write(int file, const void* data, size_t size) {
  ++g_writes;
  return syscall(SYS_write, file, data, size);
}

namespace {

TEST(DiagnosticLog, IsOffWithoutTodaysFile) {
  support::WriteFile(DayLogPath(-1), "");
  EXPECT_EQ(0, MIVO_Log_File("nobody reads this\n"));
  EXPECT_NE(0, access(DayLogPath().c_str(), F_OK));
  EXPECT_EQ("", support::ReadFile(DayLogPath(-1)));
}

TEST(DiagnosticLog, AFileThatVanishesIsNotMadeAnew) {
  SwitchLogOn();
  g_files_vanish = true;
  EXPECT_EQ(-1, MIVO_Log_File("too late\n"));
  EXPECT_NE(0, access(DayLogPath().c_str(), F_OK));
}

// An operator makes the file of the day on the wall, and reads its hours.
TEST(DiagnosticLog, FollowsAZoneThatChangesWhileTheHostRuns) {
  setenv("TZ", "WEST12", 1);
  EXPECT_EQ(0, MIVO_Log_File("switched off\n"));
  setenv("TZ", "EAST-12", 1);
  const auto eastern = [](const char* format) {
    const time_t now = time(nullptr) + 12 * 3600;
    char text[64];
    strftime(text, sizeof text, format, gmtime(&now));
    return std::string(text);
  };
  const std::string path = eastern("/tmp/fplog_%Y%m%d.log");
  support::WriteFile(path, "");
  const std::string before = eastern("%T");
  EXPECT_EQ(0, MIVO_Log_File("switched on\n"));
  const std::string stamp = support::ReadFile(path).substr(0, before.size());
  EXPECT_TRUE(before <= stamp && stamp <= eastern("%T")) << stamp;
}

// Each record is the stamp, the place, the process and thread, and the text.
TEST(DiagnosticLog, LongRecordsOfManyThreadsStayWhole) {
  SwitchLogOn();
  const std::string text(5000, 'x');
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) MV_LOG("%d %s\n", gettid(), text.c_str());
    });
  }
  for (auto& thread : threads) thread.join();
  const std::regex head(R"(\d\d:\d\d:\d\d\.\d{3}  \[src/mv_base:\d+\]\[)" +
                        std::to_string(getpid()) + R"(:(\d+)\] \1 )");
  std::istringstream log(DayLog());
  int records = 0;
  for (std::string line; std::getline(log, line); ++records) {
    const size_t end = line.find('x');
    ASSERT_TRUE(std::regex_match(line.substr(0, end), head)) << line;
    EXPECT_EQ(text, line.substr(end));
  }
  EXPECT_EQ(800, records);
  EXPECT_EQ(800, g_writes);
}

// A stranger may own the log's name in a public directory.
TEST(DiagnosticLog, NeverFollowsALinkNorWaitsOnAPipe) {
  support::WriteFile("/tmp/victim", "precious");
  ASSERT_EQ(0, symlink("/tmp/victim", DayLogPath().c_str()));
  EXPECT_EQ(-1, MIVO_Log_File("attack\n"));
  EXPECT_EQ("precious", support::ReadFile("/tmp/victim"));
  ASSERT_EQ(0, unlink(DayLogPath().c_str()));
  ASSERT_EQ(0, mkfifo(DayLogPath().c_str(), 0600));
  EXPECT_EQ(-1, MIVO_Log_File("attack\n"));
}

}  // namespace
