#include "cx_dlg/prompt_client.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "corvex_capdlg/stand_in.h"
#include "cx_capdlg_lib.h"
#include "cx_dlg/grey_bmp.h"

namespace {

using support::StandInNoted;
using Bytes = std::vector<uint8_t>;

// What the log says, without stamps and lines.
std::string LogTexts() {
  static const std::regex kOrigin(R"(\S{12}  \[src/cx_dlg:\d+\] )");
  return std::regex_replace(support::DayLog(), kOrigin, "");
}

class PromptClient : public testing::Test {
 protected:
  PromptClient() { support::SwitchLogOn(); }
  ~PromptClient() override { cx_uninit_fp_dlg(); }
};

TEST_F(PromptClient, TheProgramIsSoughtBesideTheDriverWhileThereIsTime) {
  EXPECT_EQ(-1, cx_init_fp_dlg(0));
  EXPECT_EQ(-18, cx_init_fp_dlg(30));
  EXPECT_EQ(1, cx_dlg_get_dlgtype());
  EXPECT_EQ(30, cx_dlg_get_timeout());
  // Without a working directory its bare name is sought.
  std::filesystem::create_directory("/tmp/gone");
  ASSERT_EQ(0, chdir("/tmp/gone"));
  ASSERT_EQ(0, rmdir("/tmp/gone"));
  EXPECT_EQ(-18, cx_init_fp_dlg(30));
  const auto self = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_EQ("cx_init_fp_dlg 采集提示框路径:[" + self.parent_path().string() +
                "/cx_capdlg]\ncx_init_fp_dlg 采集提示框路径:[cx_capdlg]\n",
            LogTexts());
}

// The client looks beside the driver's file; here that is this program's, where
// no prompt program stands, so the channel is started by hand.
TEST_F(PromptClient, SendsWhitePicturesOfKnownSizesAndTextsOf1To512Bytes) {
  const std::string text(513, 'x');
  const std::string program =
      support::InstallStandIn("/tmp/a", support::StandIn::kObeys);
  ASSERT_GT(cx_dlg_init(1, 30, program.c_str()), 0);
  // First: so long a text lies where a picture's flag is, and without the lock
  // a picture that is just being taken would spoil it.
  EXPECT_EQ(-1, cx_set_fp_msg_dlg(nullptr));
  EXPECT_EQ(-1, cx_set_fp_msg_dlg(""));
  EXPECT_EQ(-1, cx_set_fp_msg_dlg(text.c_str()));
  EXPECT_EQ(0, cx_set_fp_msg_dlg(text.c_str() + 1));
  EXPECT_TRUE(StandInNoted("text " + text.substr(1)));
  const struct {
    int32_t lengths[4], bytes, dots;
  } kSizes[] = {{{30400, 31478, 40536, 41972}, 31478, 14291},
                {{59904, 60982, 79872, 81312}, 60982, 19685},
                {{92160, 93238, 122880, 124320}, 93238, 19685}};
  for (const auto& size : kSizes) {
    for (const int32_t length : size.lengths) {
      EXPECT_EQ(0, cx_set_fp_white_img(length)) << length;
      const uint8_t* const bmp = m_smo_data->img1_data;
      EXPECT_EQ(size.bytes, m_smo_data->img1_len) << length;
      EXPECT_EQ(size.dots, bmp[38] | bmp[39] << 8) << length;
      EXPECT_EQ(size.bytes - 1078,
                std::count(bmp + 1078, bmp + size.bytes, 255));
    }
  }
  EXPECT_TRUE(StandInNoted("images 93238 0"));
  for (const int32_t length : {-1, 0, 12345, 41973, INT_MAX}) {
    EXPECT_EQ(-1, cx_set_fp_white_img(length)) << length;
  }
  EXPECT_EQ(0, cx_send_fp_data_to_dlg(0, "", 30400));
  EXPECT_EQ(31478, m_smo_data->img1_len);
  EXPECT_EQ(0, cx_send_fp_data_to_dlg(1, "by kind", 0));
  EXPECT_TRUE(StandInNoted("text by kind"));
  const int32_t wrong[] = {cx_send_fp_data_to_dlg(2, "", 0),
                           cx_send_fp_data_to_dlg(-1, "", 0),
                           cx_send_fp_data_to_dlg(0, nullptr, 30400),
                           cx_send_fp_data_to_dlg(1, "", -1)};
  for (const int32_t result : wrong) EXPECT_EQ(-1, result);
}

// A picture whose every pixel tells its row and column.
TEST(GreyBmp, StandsUprightAndEndsWhereItSays) {
  const Bytes head = {'B',  'M',  0xF6, 0x7A, 0, 0,    0,    0,   0, 0,    0x36,
                      0x04, 0,    0,    40,   0, 0,    0,    152, 0, 0,    0,
                      200,  0,    0,    0,    1, 0,    8,    0,   0, 0,    0,
                      0,    0xC0, 0x76, 0,    0, 0xD3, 0x37, 0,   0, 0xD3, 0x37,
                      0,    0,    0,    0,    0, 0,    0,    0,   0, 0,    0,
                      0,    255,  0,    1,    1, 255,  0,    2,   2, 255,  0};
  Bytes raw, bmp(31479, 0xEE);
  for (int i = 0; i < 154 * 203; ++i) {
    raw.push_back(static_cast<uint8_t>(i / 154 * 7 + i % 154));
  }
  uint64_t length = 7;
  EXPECT_EQ(-1, CxSaveRawAsBmp(raw.data(), 100, 200, bmp.data(), &length, 1));
  EXPECT_EQ(0xEE, bmp[0]);
  EXPECT_EQ(7u, length);
  EXPECT_EQ(0, CxSaveRawAsBmp(raw.data(), 154, 203, bmp.data(), &length, 1));
  EXPECT_EQ(31478u, length);
  EXPECT_EQ(head, Bytes(bmp.data(), bmp.data() + head.size()));
  EXPECT_EQ(static_cast<uint8_t>(202 * 7), bmp[1078]);
  EXPECT_EQ(static_cast<uint8_t>(202 * 7 + 151), bmp[1078 + 151]);
  EXPECT_EQ(static_cast<uint8_t>(3 * 7 + 151), bmp[31477]);
  EXPECT_EQ(0xEE, bmp[31478]);
}

}  // namespace
