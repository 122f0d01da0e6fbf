#include "mv_fpi/prompt_window.h"

#include "cx_dlg/prompt_client.h"
#include "mv_base/diagnostic_log.h"
#include "mv_fpi/call_frame.h"

namespace corvex {
namespace {

constexpr const char* kPressTexts[] = {" 请您第一次按捺手指...",
                                       " 请您第二次按捺手指...",
                                       " 请您第三次按捺手指..."};

// Selects the size of the blank picture: 152 x 200.
constexpr int32_t kPictureLength = 41972;

// Deliberate: a code that the channel does not give today.
constexpr int32_t kPromptCancelled = -17;

}  // namespace

PromptWindow::~PromptWindow() {
  if (open_) cx_uninit_fp_dlg();
}

void PromptWindow::Open(const char* call_name, int32_t timeout_s) {
  const int32_t opened = cx_init_fp_dlg(timeout_s);
  if (opened < 0) {
    MV_LOG("%s 初始化采集对话框失败[%d]\n", call_name, opened);
    return;
  }
  open_ = true;
  const int32_t shown = cx_set_fp_white_img(kPictureLength);
  if (shown < 0) {
    MV_LOG("%s 显示图像失败[%d]\n", call_name, shown);
    return;
  }
  cx_set_fp_msg_dlg(kPressTexts[0]);
}

int32_t PromptWindow::AskForPress(int32_t press) const {
  if (!open_) return 0;
  const int32_t sent = cx_set_fp_msg_dlg(kPressTexts[press]);
  return sent == kPromptCancelled || sent == kPromptGone ? sent : 0;
}

}  // namespace corvex
