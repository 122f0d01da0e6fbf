#include "mv_base/diagnostic_log.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "mv_base/clock.h"
#include "support/temp_file.h"

namespace {

constexpr char kLogSource[] = "src/mv_base";

using support::DayLog;
using support::DayLogPath;
using support::SwitchLogOn;

TEST(DiagnosticLog, IsOffWithoutTodaysFile) {
  support::WriteFile(DayLogPath(-1), "");
  support::WriteFile(DayLogPath(1), "");
  EXPECT_EQ(0, MIVO_Log_File("nobody reads this\n"));
  EXPECT_NE(0, access(DayLogPath().c_str(), F_OK));
  EXPECT_EQ("", support::ReadFile(DayLogPath(-1)));
  EXPECT_EQ("", support::ReadFile(DayLogPath(1)));
}

TEST(DiagnosticLog, ARecordNamesTimePlaceProcessAndThread) {
  SwitchLogOn();
  EXPECT_EQ(0, MV_LOG("corvex_open_uart 串口:[%s]\n", "ttyUSB0"));
  EXPECT_EQ(0, MV_LOG_SHORT("CxSplitJson 参数错误\n"));
  EXPECT_EQ(0, MIVO_Log_File("%d\n", 7));
  const std::string stamp = R"(\d\d:\d\d:\d\d\.\d{3}  )";
  const std::regex expected(
      stamp + R"(\[src/mv_base:\d+\]\[)" + std::to_string(getpid()) + R"(:)" +
      std::to_string(cx_gettid()) +
      R"(\] corvex_open_uart 串口:\[ttyUSB0\]\n)" + stamp +
      R"(\[src/mv_base:\d+\] CxSplitJson 参数错误\n)" + stamp + R"(7\n)");
  EXPECT_TRUE(std::regex_match(DayLog(), expected)) << DayLog();
}

TEST(DiagnosticLog, ALongRecordIsNotCut) {
  SwitchLogOn();
  const std::string text(100000, 'x');
  EXPECT_EQ(0, MV_LOG("%s\n", text.c_str()));
  EXPECT_NE(std::string::npos, DayLog().find("] " + text + "\n"));
}

TEST(DiagnosticLog, RecordsOfManyThreadsStayWhole) {
  SwitchLogOn();
  const std::string text(500, 'x');
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) MV_LOG("%s\n", text.c_str());
    });
  }
  for (auto& thread : threads) thread.join();
  const std::regex whole(
      R"(\d\d:\d\d:\d\d\.\d{3}  \[src/mv_base:\d+\]\[\d+:\d+\] x{500})");
  std::istringstream log(DayLog());
  int records = 0;
  for (std::string line; std::getline(log, line); ++records) {
    ASSERT_TRUE(std::regex_match(line, whole)) << line;
  }
  EXPECT_EQ(800, records);
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

TEST(Clock, SleepsLongerThanASecondAndNotAtAll) {
  const int64_t start = get_ms_tick();
  MvSleep(0);
  EXPECT_LT(get_ms_tick() - start, 500);
  MvSleep(1500);
  EXPECT_GE(get_ms_tick() - start, 1499);
}

}  // namespace
