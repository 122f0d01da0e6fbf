#include "cx_capdlg/screen.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <cstdlib>

#include "cx_logger.h"
#include "support/conditions.h"
#include "support/temp_file.h"

using corvex::log_run_cmd;
using support::Eventually;

bool HasScreenTools() {
  return log_run_cmd(
             "for tool in Xvfb openbox xdotool xprop xwininfo import; do"
             " command -v $tool >/dev/null || echo $tool; done")
      .empty();
}

Screen::Screen(const std::string& size) {
  // A display's name in the abstract socket space belongs to the network.
  EXPECT_EQ(0, unshare(CLONE_NEWNET));
  // Every server compiles its keyboard map into the same file here.
  EXPECT_EQ(0, mount("tmpfs", "/var/lib/xkb", "tmpfs", 0, nullptr));
  EXPECT_EQ(0, system(("Xvfb -displayfd 3 -noreset -nolisten tcp -screen 0 " +
                       size + "x24 3>/tmp/display >/tmp/Xvfb 2>&1 &")
                          .c_str()));
  std::string number;
  EXPECT_TRUE(Eventually([&] {
    number = support::ReadFile("/tmp/display");
    return number.find('\n') != std::string::npos;
  })) << support::ReadFile("/tmp/Xvfb");
  setenv("DISPLAY", (":" + number.substr(0, number.find('\n'))).c_str(), 1);
  setenv("QT_QPA_PLATFORM", "xcb", 1);
  EXPECT_EQ(0, system("openbox >/tmp/openbox 2>&1 &"));
  EXPECT_TRUE(Eventually([] {
    return log_run_cmd("xprop -root _NET_SUPPORTING_WM_CHECK").find('#') !=
           std::string::npos;
  })) << support::ReadFile("/tmp/openbox");
}

std::string Screen::PromptWindow() const {
  std::string window;
  EXPECT_TRUE(Eventually([&] {
    window = log_run_cmd(
        "xdotool search --onlyvisible --class cx_capdlg 2>/dev/null");
    return !window.empty() && window.find('\n') == std::string::npos;
  })) << "found: "
      << window << "\n"
      << log_run_cmd("ps ax; xwininfo -root -tree 2>&1");
  return window;
}

std::string Screen::Pixels(const std::string& window) const {
  return log_run_cmd("import -silent -window " + window + " rgb:- | md5sum");
}

std::string Screen::PixelsAfter(const std::string& window,
                                const std::string& before) const {
  std::string last = before;
  Eventually([&] {
    const std::string now = Pixels(window);
    const bool settled = now == last;
    last = now;
    return settled && now != before;
  });
  return last;
}

void Screen::Press(const std::string& key) const {
  log_run_cmd("xdotool key " + key);
}

void Screen::Click(const std::string& window, int x, int y) const {
  log_run_cmd("xdotool mousemove --window " + window + " " + std::to_string(x) +
              " " + std::to_string(y) + " click 1");
}
