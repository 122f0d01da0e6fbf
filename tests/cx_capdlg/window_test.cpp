// The real prompt window on a screen of its own, led through the channel.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "cx_capdlg/screen.h"
#include "cx_capdlg_lib.h"
#include "cx_dlg/prompt_client.h"
#include "cx_logger.h"
#include "support/conditions.h"
#include "support/temp_file.h"

namespace {

using corvex::log_run_cmd;
using support::Eventually;

// Process 1 may take a moment to note its end.
bool IsGone(pid_t process) {
  return Eventually([&] { return kill(process, 0) != 0; });
}

class Window : public testing::Test {
 protected:
  void SetUp() override {
    if (!HasScreenTools()) {
      GTEST_SKIP() << "a screen tool is missing";
    }
    setenv("CX_CAPDLG_PALETTE", "light", 1);
  }
  void TearDown() override { cx_dlg_uninit(); }

  // Without a time-out there is no countdown, and nothing moves by itself.
  void Open(int32_t timeout_s = 0, int32_t dialog_type = 1) {
    process_ = cx_dlg_init(dialog_type, timeout_s, PROMPT_PROGRAM);
    ASSERT_GT(process_, 0);
    window_ = screen_.PromptWindow();
    ASSERT_NE("", window_);
    shown_ = screen_.PixelsAfter(window_, "");
  }

  // Whether the window looks as it never did before once it has this text.
  bool ShowsAnew(const char* text) {
    const std::string before = shown_;
    EXPECT_EQ(0, cx_set_fp_msg_dlg(text));
    shown_ = screen_.PixelsAfter(window_, before);
    return seen_.insert(before).second && seen_.count(shown_) == 0;
  }

  // Whether the program ended by itself, and the driver learns of it.
  bool UserHasCancelled() {
    return IsGone(process_) && cx_set_fp_msg_dlg("text") == kPromptGone;
  }

  Screen screen_;
  pid_t process_ = -1;
  std::string window_;
  std::string shown_;
  std::set<std::string> seen_;
};

TEST_F(Window, ShowsEachText) {
  Open();
  EXPECT_TRUE(ShowsAnew(" 请您第一次按捺手指..."));
  EXPECT_TRUE(ShowsAnew(" 请您第二次按捺手指..."));
  EXPECT_TRUE(ShowsAnew(" 请您第三次按捺手指..."));
  EXPECT_TRUE(ShowsAnew("请擦干手指"));
}

TEST_F(Window, ShowsAPictureThatIsNotBlank) {
  Open();
  EXPECT_EQ(0, cx_set_fp_white_img(41972));
  ASSERT_NE(nullptr, m_smo_data);
  std::vector<uint8_t> bmp(m_smo_data->img1_data,
                           m_smo_data->img1_data + m_smo_data->img1_len);
  for (size_t i = 1078; i < bmp.size(); i += 3) bmp[i] = 0;
  EXPECT_EQ(0, cx_dlg_send_data(SMO_SET_IMAGES, bmp.data(),
                                static_cast<int32_t>(bmp.size()), nullptr, 0));
  EXPECT_NE(shown_, screen_.PixelsAfter(window_, shown_));
}

TEST_F(Window, ClosesOnRequestWithoutBeingKilled) {
  Open(30);
  EXPECT_EQ(0, cx_dlg_uninit());
  EXPECT_TRUE(IsGone(process_));
  char reason[CX_DLG_ERRINF_BYTES];
  cx_dlg_get_errinf(reason);
  EXPECT_EQ(nullptr, strstr(reason, "force exit")) << reason;
}

TEST_F(Window, TheCancelButtonCancels) {
  Open(30);
  screen_.Click(window_, 580, 345);
  EXPECT_TRUE(UserHasCancelled());
}

TEST_F(Window, EscapeCancels) {
  Open(30);
  screen_.Press("Escape");
  EXPECT_TRUE(UserHasCancelled());
}

TEST_F(Window, ClosingItByTheWindowManagerCancels) {
  Open(30);
  screen_.Press("alt+F4");
  EXPECT_TRUE(UserHasCancelled());
}

TEST_F(Window, AStrayReturnKeyCancelsNothing) {
  Open();
  screen_.Press("Return");
  screen_.Press("space");
  EXPECT_TRUE(ShowsAnew("text"));
}

TEST_F(Window, StaysAboveOthersInTheMiddleOfASmallScreen) {
  Open();
  EXPECT_NE(std::string::npos,
            log_run_cmd("xprop -id " + window_ + " _NET_WM_STATE")
                .find("_NET_WM_STATE_ABOVE"));
  const std::string geometry = log_run_cmd("xwininfo -id " + window_);
  const auto number = [&](const char* name) {
    const size_t at = geometry.find(name);
    return at == std::string::npos ? -1
                                   : atoi(geometry.c_str() + at + strlen(name));
  };
  const int x = number("Absolute upper-left X:");
  const int y = number("Absolute upper-left Y:");
  const int width = number("Width:");
  const int height = number("Height:");
  EXPECT_GT(width, 600);
  EXPECT_LT(height, 500);
  EXPECT_NEAR(1024 / 2, x + width / 2, 4);
  EXPECT_NEAR(600 / 2, y + height / 2, 30);  // the title bar counts too
}

TEST_F(Window, SurvivesWhatNoDriverSends) {
  Open(0, 77);
  const std::string garbage(CX_SMO_IMAGE_BYTES, '\x5A');
  const std::string bmp_head = "BM" + garbage;
  for (const std::string& picture : {garbage, bmp_head.substr(0, 5000)}) {
    EXPECT_EQ(0, cx_dlg_send_data(SMO_SET_IMAGES, picture.data(),
                                  static_cast<int32_t>(picture.size()),
                                  picture.data(), 1));
  }
  EXPECT_TRUE(ShowsAnew(std::string(512, 'W').c_str()));
  EXPECT_TRUE(ShowsAnew("\xFF\xFE\xC0 <b>\x07%s%n"));
  EXPECT_TRUE(ShowsAnew(" "));
  EXPECT_EQ(0, kill(process_, 0));
}

// Its end would read as the user's cancelling.
TEST(NoDisplay, TheProgramSitsTheSessionOutUnseen) {
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
  unsetenv("QT_QPA_PLATFORM");
  setenv("XDG_RUNTIME_DIR", "/tmp", 1);
  const std::string program = "/tmp/cx_capdlg";
  support::WriteFile(
      program, "#!/bin/sh\nexec " PROMPT_PROGRAM " \"$@\" 2>/tmp/complaint\n");
  ASSERT_EQ(0, chmod(program.c_str(), 0755));
  const int32_t process = cx_dlg_init(1, 30, program.c_str());
  ASSERT_GT(process, 0);
  EXPECT_TRUE(Eventually([] {
    return support::ReadFile("/tmp/complaint")
               .find("no window; the enrolment goes on without one\n") !=
           std::string::npos;
  })) << support::ReadFile("/tmp/complaint");
  EXPECT_EQ(0, cx_set_fp_msg_dlg("text"));
  EXPECT_EQ(0, cx_dlg_uninit());
  EXPECT_TRUE(IsGone(process));
}

TEST(ByHand, TheProgramSaysWhyItEnds) {
  EXPECT_EQ("cx_capdlg: no driver has opened the prompt channel\n1",
            log_run_cmd(PROMPT_PROGRAM " 10 2>&1; echo $?"));
}

}  // namespace
