#include "cx_dlg/prompt_client.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "cx_capdlg_lib.h"
#include "cx_dlg/grey_bmp.h"
#include "mv_base/diagnostic_log.h"
#include "mv_base/own_file.h"

namespace {

constexpr char kProgram[] = "cx_capdlg";
constexpr int32_t kDialogType = 1;
constexpr int32_t kNoMemory = -99;
constexpr size_t kLongestText = 512;

enum SendKind : int32_t { kSendPicture = 0, kSendText = 1 };

struct PictureSize {
  int32_t lengths[4];  // the known sizes of such a sensor's pictures, in bytes
  int32_t width, height;
};
constexpr PictureSize kPictureSizes[] = {
    {{30400, 31478, 40536, 41972}, 152, 200},
    {{59904, 60982, 79872, 81312}, 208, 288},
    {{92160, 93238, 122880, 124320}, 256, 360},
};

const PictureSize* FindPictureSize(int32_t len_bytes) {
  for (const PictureSize& size : kPictureSizes) {
    for (const int32_t length : size.lengths) {
      if (length == len_bytes) return &size;
    }
  }
  return nullptr;
}

std::unique_ptr<uint8_t[]> Allocate(int32_t bytes) {
  return std::unique_ptr<uint8_t[]>(new (std::nothrow)
                                        uint8_t[static_cast<size_t>(bytes)]);
}

int32_t SendWhite(const PictureSize& size) {
  const int32_t pixels = size.width * size.height;
  const auto raw = Allocate(pixels);
  const auto bmp = Allocate(BmpBytes(size.width, size.height));
  if (raw == nullptr || bmp == nullptr) {
    MV_LOG_SHORT("cx_auto_fp_img_to_capdlg 申请内存失败[%d]\n", kNoMemory);
    return kNoMemory;
  }
  std::fill_n(raw.get(), pixels, uint8_t{255});
  uint64_t len_bytes = 0;
  CxSaveRawAsBmp(raw.get(), size.width, size.height, bmp.get(), &len_bytes, 0);
  return cx_dlg_send_data(SMO_SET_IMAGES, bmp.get(),
                          static_cast<int32_t>(len_bytes), nullptr, 0);
}

int32_t SendText(const char* text) {
  const size_t len = strlen(text);
  return cx_dlg_send_data(SMO_SET_MSG, text, static_cast<int32_t>(len), nullptr,
                          0);
}

bool HasWorkingDirectory() {
  char* const directory = getcwd(nullptr, 0);
  free(directory);
  return directory != nullptr;
}

}  // namespace

int32_t get_empty_dladdr(int32_t value) { return value; }

int32_t cx_get_dlg_path(char* directory) {
  // Deliberate: only a precondition, the directory is not used.
  if (!HasWorkingDirectory()) return -1;
  return corvex::DirectoryOfFileWith(
      reinterpret_cast<const void*>(&get_empty_dladdr), directory,
      kDlgPathBytes);
}

int32_t cx_init_fp_dlg(int32_t timeout_s) {
  if (timeout_s <= 0) return -1;
  char directory[kDlgPathBytes];
  char path[2 * kDlgPathBytes];
  if (cx_get_dlg_path(directory) < 0) {
    snprintf(path, sizeof path, "%s", kProgram);
  } else {
    snprintf(path, sizeof path, "%s/%s", directory, kProgram);
  }
  MV_LOG_SHORT("cx_init_fp_dlg 采集提示框路径:[%s]\n", path);
  return cx_dlg_init(kDialogType, timeout_s, path);
}

void cx_uninit_fp_dlg() { cx_dlg_uninit(); }

int32_t cx_set_fp_msg_dlg(const char* text) {
  if (text == nullptr) return -1;
  const size_t len = strnlen(text, kLongestText + 1);
  if (len < 1 || len > kLongestText) return -1;
  return SendText(text);
}

int32_t cx_set_fp_white_img(int32_t len_bytes) {
  return cx_auto_fp_img_to_capdlg(len_bytes);
}

int32_t cx_auto_fp_img_to_capdlg(int32_t len_bytes) {
  if (len_bytes < 0) {
    MV_LOG_SHORT("cx_auto_fp_img_to_capdlg 参数错误[%d]\n", -1);
    return -1;
  }
  // Memory is taken for known sizes only: an absurd length costs nothing.
  const PictureSize* const size = FindPictureSize(len_bytes);
  return size == nullptr ? -1 : SendWhite(*size);
}

int32_t cx_send_fp_data_to_dlg(int32_t kind, const char* text, int32_t len) {
  // Deliberate: a picture wants a text too.
  if (kind < 0 || text == nullptr || len < 0) {
    MV_LOG_SHORT("cx_send_fp_data_to_dlg 参数错误[%d]\n", -1);
    return -1;
  }
  if (kind == kSendPicture) return cx_auto_fp_img_to_capdlg(len);
  if (kind == kSendText) return SendText(text);
  return -1;
}
