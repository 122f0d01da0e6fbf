// The driver's side of the prompt window: starts it, tells it what to show,
// closes it. For one thread at a time; guided enrolment holds the driver-wide
// lock throughout.
#ifndef SRC_CX_DLG_PROMPT_CLIENT_H_
#define SRC_CX_DLG_PROMPT_CLIENT_H_

#include <cstdint>

// The window was closed by its user (or has crashed): what a send returns when
// the prompt program is no longer running.
constexpr int32_t kPromptGone = -20;

// Room for the directory that cx_get_dlg_path writes, terminator included.
constexpr int32_t kDlgPathBytes = 256;

// Starts the program cx_capdlg beside the driver's own file. Returns its
// process id, -18 when there is no such file, -1 when the time-out is not
// positive or the program did not come up within 3 s.
int32_t cx_init_fp_dlg(int32_t timeout_s);

// Closes the window; kills it when it does not close within 3 s.
void cx_uninit_fp_dlg();

// Shows a text of 1 to 512 bytes of UTF-8. Returns 0, -1, -19 without a
// window, or kPromptGone.
int32_t cx_set_fp_msg_dlg(const char* text);

// Shows a white picture. The length selects its size and must be one of the
// twelve that the sensors are known by. Returns 0, -1, -19 without a window,
// -99 without memory, or kPromptGone.
int32_t cx_set_fp_white_img(int32_t len_bytes);
int32_t cx_auto_fp_img_to_capdlg(int32_t len_bytes);

// Kind 0 shows the white picture that `len` selects, kind 1 shows `text`; both
// want a text that is not null. Returns -1 for any other kind.
int32_t cx_send_fp_data_to_dlg(int32_t kind, const char* text, int32_t len);

// Writes the directory of the driver's own file, without a final '/', to
// `directory` of kDlgPathBytes. Returns a positive number, or -1 when it cannot
// be told or does not fit.
int32_t cx_get_dlg_path(char* directory);

// Returns its argument. Only its address matters: it lies inside the driver.
int32_t get_empty_dladdr(int32_t value);

#endif  // SRC_CX_DLG_PROMPT_CLIENT_H_
