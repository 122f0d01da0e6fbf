// Guided enrolment as a user meets it: the built driver, a reader, and on a
// screen the window that lies beside the driver.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sched.h>

#include <future>

#include "cx_logger.h"
#include "mv_fpi.h"
#include "support/conditions.h"
#include "virtual_reader/virtual_reader.h"

using corvex::log_run_cmd;

static int Enrol() {
  const auto call = reinterpret_cast<decltype(&FG_TipsGetTemplate)>(
      dlsym(dlopen(DRIVER_FILE, RTLD_NOW), "FG_TipsGetTemplate"));
  const corvex::vreader::VirtualReader reader;
  char tmpl[FG_TEMPLATE_BYTES], message[FG_MESSAGE_BYTES];
  int len = 0;
  return call(reader.PortName().c_str(), "", 9600, 30, tmpl, &len, message);
}

TEST(GuidedEnrolment, IsCancelledByEscInTheWindowOnTheScreen) {
  if (log_run_cmd("command -v Xvfb && command -v xdotool").empty()) {
    GTEST_SKIP() << "Xvfb or xdotool is missing";
  }
  // A display's name in the abstract socket space belongs to the network.
  ASSERT_EQ(0, unshare(CLONE_NEWNET));
  setenv("DISPLAY", ":7", 1);
  setenv("QT_QPA_PLATFORM", "xcb", 1);
  ASSERT_EQ(0, system("Xvfb :7 -noreset >/tmp/Xvfb 2>&1 &"
                      " until xdotool getmouselocation; do sleep 0.05; done"
                      " >/tmp/ready 2>&1"));
  const std::string window = "xdotool search --onlyvisible --class cx_capdlg";
  std::future<int> result = std::async(std::launch::async, Enrol);
  EXPECT_TRUE(
      support::Eventually([&] { return !log_run_cmd(window).empty(); }));
  // Again and again: a window that has just come up may miss a key.
  log_run_cmd("while pgrep -x cx_capdlg; do " + window + " key Escape; done");
  EXPECT_EQ(FG_ERR_CANCELLED, result.get());
}
