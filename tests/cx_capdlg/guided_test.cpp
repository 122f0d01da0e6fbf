// Guided enrolment end to end: the built driver, a virtual reader, and the real
// window beside the driver.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "cx_capdlg/screen.h"
#include "cx_logger.h"
#include "mv_fpi.h"
#include "support/conditions.h"
#include "support/temp_file.h"
#include "virtual_reader/virtual_reader.h"

namespace {

using corvex::log_run_cmd;
using support::Eventually;
using support::LockIsFree;

// The driver's file, loaded as a host loads it.
class Driver {
 public:
  explicit Driver(const char* file = DRIVER_FILE)
      : library_(dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
    EXPECT_NE(nullptr, library_) << dlerror();
  }
  ~Driver() { dlclose(library_); }
  Driver(const Driver&) = delete;
  Driver& operator=(const Driver&) = delete;

  int Enrol(const std::string& port, int timeout_s = 30) {
    const auto call = reinterpret_cast<decltype(&FG_TipsGetTemplate)>(
        dlsym(library_, "FG_TipsGetTemplate"));
    char tmpl[FG_TEMPLATE_BYTES];
    int tmpl_len = 0;
    return call(port.c_str(), "", FG_LINK_SPEED, timeout_s, tmpl, &tmpl_len,
                message);
  }

  char message[FG_MESSAGE_BYTES] = {};

 private:
  void* const library_;
};

class GuidedEnrolment : public testing::Test {
 protected:
  GuidedEnrolment() { support::SwitchLogOn(); }

  void SetUp() override {
    if (!HasScreenTools()) GTEST_SKIP() << "a screen tool is missing";
  }

  // After every call: no window, no block, a free lock and a closed port.
  void TearDown() override {
    EXPECT_TRUE(Eventually([] { return Windows().empty(); }));
    EXPECT_EQ(-1, shmget(-1, 0, 0));
    EXPECT_TRUE(LockIsFree());
    EXPECT_EQ(std::vector<std::string>{}, reader_.Errors());
  }

  static std::string Windows() { return log_run_cmd("pgrep -x cx_capdlg"); }

  static bool Logged(const std::string& text) {
    return support::DayLog().find("] FG_TipsGetTemplate " + text + "\n") !=
           std::string::npos;
  }

  // A finger of `count` minutiae along a spiral stays on the sensor.
  void PressFinger(int count = 30) {
    corvex::vreader::Bytes record = {0x12, 0, static_cast<uint8_t>(count)};
    for (int i = 0; i < count; ++i) {
      const int direction = i * 47 % 360;
      for (const int byte : {20 + i * 37 % 215, 20 + i * 91 % 215,
                             direction & 255, direction >> 8 | 50 << 1, 0}) {
        record.push_back(static_cast<uint8_t>(byte));
      }
    }
    reader_.Press(record);
  }

  // Starts a host that enrols, in a process of its own; its exit status is the
  // result's absolute value.
  pid_t StartHost() {
    const std::string port = reader_.PortName();
    const pid_t host = fork();
    if (host == 0) _exit(-Driver().Enrol(port));
    return host;
  }

  static int ResultOf(pid_t host) {
    int status = 0;
    waitpid(host, &status, 0);
    return WIFEXITED(status) ? -WEXITSTATUS(status) : -1000;
  }

  corvex::vreader::VirtualReader reader_;
};

TEST_F(GuidedEnrolment, ThreePressesSucceedUnderTheWindow) {
  const Screen screen;
  PressFinger();
  const pid_t host = StartHost();
  const std::string window = screen.PromptWindow();
  ASSERT_NE("", window);
  const std::string first = screen.Pixels(window);
  EXPECT_NE(first, screen.PixelsAfter(window, first));
  EXPECT_EQ(0, ResultOf(host));
  EXPECT_EQ(3, reader_.Counts().captures);
  EXPECT_FALSE(Logged("初始化采集对话框失败[-1]"));
  EXPECT_FALSE(Logged("显示图像失败[-20]"));
}

TEST_F(GuidedEnrolment, ClosingTheWindowCancels) {
  const Screen screen;
  const pid_t host = StartHost();
  ASSERT_NE("", screen.PromptWindow());
  screen.Press("alt+F4");
  EXPECT_EQ(FG_ERR_CANCELLED, ResultOf(host));
  EXPECT_TRUE(Logged("取消操作[-20]"));
}

TEST_F(GuidedEnrolment, TheCancelButtonCancelsAfterTheFirstPress) {
  const Screen screen;
  const pid_t host = StartHost();
  const std::string window = screen.PromptWindow();
  ASSERT_NE("", window);
  PressFinger();
  EXPECT_TRUE(Eventually([&] { return reader_.Counts().captures == 1; }));
  reader_.Lift();
  screen.Click(window, 580, 345);
  EXPECT_EQ(FG_ERR_CANCELLED, ResultOf(host));
}

TEST_F(GuidedEnrolment, TheTimeoutClosesTheWindow) {
  const Screen screen;
  Driver driver;
  EXPECT_EQ(FG_ERR_TIMEOUT, driver.Enrol(reader_.PortName(), 2));
  EXPECT_STREQ("采集指纹模板超时", driver.message);
}

TEST_F(GuidedEnrolment, AKilledHostLeavesNothingInTheWay) {
  const Screen screen;
  const pid_t host = StartHost();
  ASSERT_NE("", screen.PromptWindow());
  EXPECT_TRUE(Eventually([&] { return reader_.Counts().probes > 0; }));
  kill(host, SIGKILL);
  ResultOf(host);
  // What the host had just forked may hold it until it becomes another program.
  EXPECT_TRUE(Eventually(LockIsFree));
  Driver driver;  // while the old window may still be there
  PressFinger();
  EXPECT_EQ(0, driver.Enrol(reader_.PortName()));
}

TEST_F(GuidedEnrolment, AKilledHostsWindowClosesByItself) {
  const Screen screen;
  const pid_t host = StartHost();
  ASSERT_NE("", screen.PromptWindow());
  kill(host, SIGKILL);
  ResultOf(host);
  EXPECT_TRUE(Eventually([] { return Windows().empty(); }));
  shmctl(shmget(-1, 0, 0), IPC_RMID, nullptr);  // nobody is left to do it
}

TEST_F(GuidedEnrolment, AKilledWindowCancels) {
  const Screen screen;
  const pid_t host = StartHost();
  ASSERT_NE("", screen.PromptWindow());
  log_run_cmd("kill -9 " + Windows());
  EXPECT_EQ(FG_ERR_CANCELLED, ResultOf(host));
}

TEST_F(GuidedEnrolment, WithoutTheProgramItGoesOn) {
  std::filesystem::create_directory("/tmp/alone");
  std::filesystem::copy_file(DRIVER_FILE, "/tmp/alone/libmv_fpi.so");
  Driver driver("/tmp/alone/libmv_fpi.so");
  PressFinger();
  EXPECT_EQ(0, driver.Enrol(reader_.PortName()));
  EXPECT_TRUE(Logged("初始化采集对话框失败[-18]"));
}

TEST_F(GuidedEnrolment, WithoutPgrepItGoesOn) {
  const Screen screen;
  const char* const path = getenv("PATH");
  const std::string old_path = path == nullptr ? "" : path;
  setenv("PATH", "/nowhere", 1);
  {
    Driver driver;
    PressFinger();
    EXPECT_EQ(0, driver.Enrol(reader_.PortName()));
    EXPECT_TRUE(Logged("初始化采集对话框失败[-1]"));
  }
  setenv("PATH", old_path.c_str(), 1);
}

TEST_F(GuidedEnrolment, WithoutADisplayItGoesOn) {
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
  Driver driver;
  PressFinger();
  EXPECT_EQ(0, driver.Enrol(reader_.PortName()));
  EXPECT_FALSE(Logged("初始化采集对话框失败[-1]"));
}

TEST_F(GuidedEnrolment, AHostThatIgnoresItsChildrenEnrolsAndCancels) {
  const Screen screen;
  signal(SIGCHLD, SIG_IGN);
  Driver driver;
  PressFinger();
  EXPECT_EQ(0, driver.Enrol(reader_.PortName()));
  reader_.Lift();
  // Its own window search would need children too: the key comes from a shell,
  // again and again, since a window that has just come up may miss the first.
  EXPECT_EQ(0, access("/bin/sh", X_OK));
  log_run_cmd(
      "(until test -e /tmp/cancelled; do sleep 0.1;"
      " xdotool search --onlyvisible --class cx_capdlg key Escape;"
      " done) >/dev/null 2>&1 &");
  EXPECT_EQ(FG_ERR_CANCELLED, driver.Enrol(reader_.PortName()));
  support::WriteFile("/tmp/cancelled", "");
  signal(SIGCHLD, SIG_DFL);
}

TEST_F(GuidedEnrolment, ALeftOverBlockOfAnotherSizeOnlyCostsTheWindow) {
  const int segment = shmget(-1, 4096, IPC_CREAT | 0666);
  ASSERT_NE(-1, segment);
  Driver driver;
  PressFinger();
  EXPECT_EQ(0, driver.Enrol(reader_.PortName()));
  EXPECT_TRUE(Logged("初始化采集对话框失败[-1]"));
  shmctl(segment, IPC_RMID, nullptr);
}

}  // namespace
