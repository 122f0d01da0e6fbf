#include "cx_dlg/prompt_client.h"

#include <gtest/gtest.h>
#include <sys/shm.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string>

#include "corvex_capdlg/stand_in.h"
#include "cx_capdlg_lib.h"
#include "support/conditions.h"
#include "support/temp_file.h"

namespace {

using support::InstallStandIn;
using support::StandIn;
using support::StandInNoted;

class PromptClient : public testing::Test {
 protected:
  // The client looks beside the driver's file; here that is this program's,
  // where no prompt program stands, so the channel is started by hand.
  static void OpenWindow() {
    const std::string path = InstallStandIn("/tmp/a", StandIn::kObeys);
    ASSERT_GT(cx_dlg_init(1, 30, path.c_str()), 0);
  }
  void TearDown() override { cx_uninit_fp_dlg(); }
};

TEST_F(PromptClient, WithoutTimeNothingIsStarted) {
  support::SwitchLogOn();
  EXPECT_EQ(-1, cx_init_fp_dlg(0));
  EXPECT_EQ(-1, cx_init_fp_dlg(-5));
  EXPECT_EQ("", support::DayLog());
  EXPECT_EQ(-1, shmget(-1, 0, 0));
}

TEST_F(PromptClient, TheProgramIsSoughtBesideTheDriver) {
  char directory[kDlgPathBytes];
  ASSERT_GT(cx_get_dlg_path(directory), 0);
  char self[1024] = {};
  ASSERT_GT(readlink("/proc/self/exe", self, sizeof self - 1), 0);
  *strrchr(self, '/') = '\0';
  EXPECT_STREQ(self, directory);
  support::SwitchLogOn();
  EXPECT_EQ(CX_DLG_NO_PROGRAM, cx_init_fp_dlg(30));
  EXPECT_NE(std::string::npos,
            support::DayLog().find("] cx_init_fp_dlg 采集提示框路径:[" +
                                   std::string(self) + "/cx_capdlg]\n"));
  EXPECT_NE(std::string::npos, support::DayLog().find("  [src/cx_dlg:"));
}

TEST_F(PromptClient, WithoutAWorkingDirectoryTheBareNameIsSought) {
  ASSERT_EQ(0, chdir("/tmp"));
  const std::string gone = "/tmp/gone";
  ASSERT_EQ(0, system(("mkdir " + gone).c_str()));
  ASSERT_EQ(0, chdir(gone.c_str()));
  ASSERT_EQ(0, rmdir(gone.c_str()));
  char directory[kDlgPathBytes];
  EXPECT_EQ(-1, cx_get_dlg_path(directory));
  support::SwitchLogOn();
  EXPECT_EQ(CX_DLG_NO_PROGRAM, cx_init_fp_dlg(30));
  EXPECT_NE(std::string::npos, support::DayLog().find(":[cx_capdlg]\n"));
}

TEST_F(PromptClient, TheWhitePictureArrives) {
  OpenWindow();
  EXPECT_EQ(0, cx_set_fp_white_img(41972));
  EXPECT_TRUE(StandInNoted("images 31478 0"));
  ASSERT_NE(nullptr, m_smo_data);
  const uint8_t* const bmp = m_smo_data->img1_data;
  EXPECT_EQ(0, memcmp("BM\xF6\x7A\0\0", bmp, 6));
  for (int i = 1078; i < 31478; ++i) ASSERT_EQ(255, bmp[i]) << i;
}

TEST_F(PromptClient, EveryKnownLengthSelectsItsSize) {
  OpenWindow();
  const struct {
    int32_t lengths[4];
    int32_t bytes;
  } kCases[] = {{{30400, 31478, 40536, 41972}, 31478},
                {{59904, 60982, 79872, 81312}, 60982},
                {{92160, 93238, 122880, 124320}, 93238}};
  for (const auto& c : kCases) {
    for (const int32_t length : c.lengths) {
      EXPECT_EQ(0, cx_auto_fp_img_to_capdlg(length)) << length;
      EXPECT_EQ(c.bytes, m_smo_data->img1_len) << length;
    }
  }
}

TEST_F(PromptClient, OtherLengthsAreRefusedAndOnlyNegativeOnesLogged) {
  support::SwitchLogOn();
  for (const int32_t length : {0, 12345, 41973, INT_MAX}) {
    EXPECT_EQ(-1, cx_set_fp_white_img(length)) << length;
  }
  EXPECT_EQ("", support::DayLog());
  EXPECT_EQ(-1, cx_set_fp_white_img(-1));
  EXPECT_NE(
      std::string::npos,
      support::DayLog().find("] cx_auto_fp_img_to_capdlg 参数错误[-1]\n"));
}

TEST_F(PromptClient, ATextHas1To512Bytes) {
  const std::string text(513, 'x');
  EXPECT_EQ(CX_DLG_NOT_INITIALISED, cx_set_fp_msg_dlg("x"));
  OpenWindow();
  EXPECT_EQ(-1, cx_set_fp_msg_dlg(nullptr));
  EXPECT_EQ(-1, cx_set_fp_msg_dlg(""));
  EXPECT_EQ(-1, cx_set_fp_msg_dlg(text.c_str()));
  EXPECT_EQ(0, cx_set_fp_msg_dlg(text.c_str() + 1));
  EXPECT_TRUE(StandInNoted("text " + text.substr(1)));
}

TEST_F(PromptClient, AClosedWindowIsReported) {
  OpenWindow();
  EXPECT_EQ(0, cx_dlg_send_data(SMO_SET_QUIT, nullptr, 0, nullptr, 0));
  EXPECT_TRUE(support::Eventually(
      [] { return cx_set_fp_msg_dlg("text") == kPromptGone; }));
}

TEST_F(PromptClient, TheGeneralSendDispatchesOnItsKind) {
  support::SwitchLogOn();
  EXPECT_EQ(-1, cx_send_fp_data_to_dlg(-1, "x", 1));
  EXPECT_EQ(-1, cx_send_fp_data_to_dlg(0, nullptr, 41972));
  EXPECT_EQ(-1, cx_send_fp_data_to_dlg(1, "x", -1));
  const std::string log = support::DayLog();
  EXPECT_EQ(3, std::count(log.begin(), log.end(), '\n'));
  EXPECT_NE(std::string::npos,
            log.find("] cx_send_fp_data_to_dlg 参数错误[-1]\n"));
  EXPECT_EQ(-1, cx_send_fp_data_to_dlg(2, "x", 1));
  OpenWindow();
  EXPECT_EQ(0, cx_send_fp_data_to_dlg(0, "", 60982));
  EXPECT_TRUE(StandInNoted("images 60982 0"));
  EXPECT_EQ(0, cx_send_fp_data_to_dlg(1, "text", 0));
  EXPECT_TRUE(StandInNoted("text text"));
}

}  // namespace
