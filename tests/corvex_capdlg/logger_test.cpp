#include <gtest/gtest.h>
#include <sys/time.h>

#include <csignal>
#include <string>

#include "cx_logger.h"

namespace {

using corvex::ShellWord;

TEST(ShellWord, PlainPathsStayAsTheyAre) {
  for (const char* plain : {"/usr/lib/cx_capdlg", "/opt/a-b+c.d_E9/x", ""}) {
    EXPECT_EQ(plain, ShellWord(plain));
  }
}

TEST(ShellWord, TheShellReadsAnyTextBackAsItWas) {
  for (const char* text : {"/a b", "/x;touch /tmp/stranger", "$(id)", "`id`",
                           "it's", "''", "a\nb", "*", "~", "/目录"}) {
    EXPECT_EQ(text, corvex::log_run_cmd("printf %s " + ShellWord(text)));
  }
}

TEST(RunCmd, ReturnsTheOutputWithoutOneFinalLineFeed) {
  EXPECT_EQ("1\n2\n", corvex::log_run_cmd("printf '1\\n2\\n\\n'"));
  EXPECT_EQ("", corvex::log_run_cmd("true"));
  EXPECT_EQ(5000u, corvex::log_run_cmd("printf %05000d 7").size());
}

// A lost output reads as "the window was closed".
TEST(RunCmd, LosesNoOutputToSignals) {
  struct sigaction action {};
  action.sa_handler = [](int) {};  // no SA_RESTART
  sigaction(SIGALRM, &action, nullptr);
  const itimerval often{{0, 2000}, {0, 2000}};
  setitimer(ITIMER_REAL, &often, nullptr);
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ("late", corvex::log_run_cmd("sleep 0.02; printf late"));
  }
  const itimerval never{};
  setitimer(ITIMER_REAL, &never, nullptr);
}

TEST(AppPath, IsTheRunningExecutables) {
  const std::string directory = corvex::log_get_app_path(1);
  const std::string name = corvex::log_get_app_path(2);
  EXPECT_EQ("corvex_capdlg_test", name);
  EXPECT_EQ('/', directory.back());
  EXPECT_EQ(directory + name, corvex::log_get_app_path(0));
  EXPECT_TRUE(corvex::log_file_exist(directory + name));
  EXPECT_FALSE(corvex::log_file_exist(directory + "nothing"));
}

TEST(Watch, CountsDownFromTheTimeout) {
  int64_t mark = 0;
  while (mark == 0) corvex::log_is_timeout_ms(mark, 1);
  EXPECT_LE(corvex::log_is_timeout_ms(mark, 50), 50);
  EXPECT_GT(corvex::log_is_timeout_ms(mark, 1000000), 0);
  EXPECT_LT(corvex::log_is_timeout_ms(mark, -1), 1);
  EXPECT_GT(corvex::log_is_timeout(mark, 1000), 0);
}

TEST(StrFormat, IsCutAt2047Characters) {
  EXPECT_EQ("a 7", corvex::log_str_format("%s %d", "a", 7));
  const std::string text(5000, 'x');
  EXPECT_EQ(text.substr(0, 2047), corvex::log_str_format("%s", text.c_str()));
}

}  // namespace
