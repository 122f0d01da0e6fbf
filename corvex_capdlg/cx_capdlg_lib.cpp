#include "cx_capdlg_lib.h"

#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include "extern/smo_opt/smo_base1.h"

// The process's one channel. Its end, at exit or unload, removes a segment
// that it still owns.
CxSmoBase1 m_smo_opt;
smo_data_t* m_smo_data = nullptr;
const char* const _libver_ = "string_version: 1.0.0.2";

namespace {

constexpr int32_t kExitWaitMs = 3000;

bool m_binit = false;
std::string m_dlgAppFile;
bool g_has_ended = false;

void Close() {
  free(m_smo_data);
  m_smo_data = nullptr;
  m_binit = false;
}

// Ends before the objects above do. Later calls, of a host's own static objects
// perhaps, find the channel closed.
struct EndOfChannel {
  ~EndOfChannel() {
    Close();
    g_has_ended = true;
  }
};
const EndOfChannel g_end_of_channel;

// Nothing throws across the exported boundary; what could is want of memory.
template <typename Work>
int32_t InChannel(Work work) {
  if (g_has_ended) return CX_DLG_FAILED;
  try {
    return work();
  } catch (const std::exception&) {
    return CX_DLG_FAILED;
  }
}

// The record is 2 MiB of which a session mostly touches a page: memory that
// calloc takes from the kernel is cleared as it is touched.
bool AllocateStaging() {
  if (m_smo_data == nullptr) {
    m_smo_data = static_cast<smo_data_t*>(calloc(1, sizeof(smo_data_t)));
  }
  return m_smo_data != nullptr;
}

int32_t Start(int32_t dlg_type, int32_t timeout, const char* path) {
  if (!AllocateStaging()) return CX_DLG_FAILED;
  const int32_t created = m_smo_opt.sm_opt_init(CX_SMO_SIZE);
  if (created < 0) return created;
  m_smo_data->timeout = timeout;
  m_smo_data->dlg_type = dlg_type;
  const int32_t posted = m_smo_opt.sm_set_data(SMO_SET_DLGINFO, *m_smo_data);
  if (posted < 0) return posted;
  const int32_t process = m_smo_opt.sm_run_appfile(path);
  if (process < 0) {
    // One that comes up late, or cannot be seen for want of pgrep, must not
    // stay on the screen. Where there is no such program nothing was started,
    // and the block may be another session's.
    if (process != CX_DLG_NO_PROGRAM) {
      m_smo_opt.sm_set_data(SMO_SET_QUIT, *m_smo_data);
    }
    return process;
  }
  m_dlgAppFile = path;
  m_binit = true;
  return process;
}

int32_t Stop() {
  m_smo_data->quit_flag = 1;
  m_smo_opt.sm_set_data(SMO_SET_QUIT, *m_smo_data);
  if (!m_dlgAppFile.empty()) {
    m_smo_opt.sm_exit_apprun(m_dlgAppFile, kExitWaitMs);
  }
  return m_smo_opt.sm_opt_uninit();
}

// A picture that is not given is none to refuse.
bool IsGoodLength(int32_t len) { return len <= 0 || IsImageLength(len); }

bool AreGoodArguments(int32_t kind, const void* data1, int32_t len1,
                      const void* data2, int32_t len2) {
  if (len1 > 0 && data1 == nullptr) return false;
  if (len2 > 0 && data2 == nullptr) return false;
  if (kind == SMO_SET_MSG) return data1 != nullptr;
  if (kind != SMO_SET_IMAGES) return true;
  return (len1 > 0 || len2 > 0) && IsGoodLength(len1) && IsGoodLength(len2);
}

void StageImage(const void* data, int32_t len, int32_t* staged_len,
                uint8_t* staged) {
  if (len <= 0) return;
  memset(staged, 0, CX_SMO_IMAGE_BYTES);
  memcpy(staged, data, static_cast<size_t>(len));
  *staged_len = len;
}

int32_t Send(int32_t kind, const void* data1, int32_t len1, const void* data2,
             int32_t len2) {
  const int32_t process = m_smo_opt.sm_app_running(m_dlgAppFile);
  if (process < 0) return process;
  if (kind == SMO_SET_QUIT) {
    m_smo_data->quit_flag = 1;
  } else if (kind == SMO_SET_MSG) {
    CopyRecordText(*m_smo_data, static_cast<const char*>(data1));
    m_smo_data->msg_flag = 1;
  } else if (kind == SMO_SET_IMAGES) {
    StageImage(data1, len1, &m_smo_data->img1_len, m_smo_data->img1_data);
    StageImage(data2, len2, &m_smo_data->img2_len, m_smo_data->img2_data);
    m_smo_data->img_flag = 1;
  } else {
    return process;
  }
  return m_smo_opt.sm_set_data(kind, *m_smo_data);
}

}  // namespace

int32_t cx_dlg_init(int32_t dlg_type, int32_t timeout, const char* path) {
  if (path == nullptr) return CX_DLG_BAD_ARGUMENT;
  if (m_binit) cx_dlg_uninit();
  const int32_t result =
      InChannel([&] { return Start(dlg_type, timeout, path); });
  if (result < 0) cx_dlg_uninit();
  return result;
}

int32_t cx_dlg_uninit() {
  const int32_t result = m_binit ? InChannel(Stop) : 0;
  Close();
  return result;
}

int32_t cx_dlg_send_data(int32_t kind, const void* data1, int32_t len1,
                         const void* data2, int32_t len2) {
  if (!m_binit) return CX_DLG_NOT_INITIALISED;
  if (!AreGoodArguments(kind, data1, len1, data2, len2)) {
    return CX_DLG_BAD_ARGUMENT;
  }
  return InChannel([&] { return Send(kind, data1, len1, data2, len2); });
}

int32_t cx_dlg_recv_data(smo_data_t* item, uint32_t* bytes) {
  if (item == nullptr) return CX_DLG_BAD_ARGUMENT;
  memset(item, 0, sizeof *item);
  const int32_t taken = InChannel([&] { return m_smo_opt.sm_get_data(*item); });
  if (taken >= 1 && bytes != nullptr) *bytes = sizeof *item;
  return taken;
}

int32_t cx_dlg_get_dlgtype() {
  return InChannel([] { return m_smo_opt.sm_get_dlgtype(); });
}

int32_t cx_dlg_get_timeout() {
  return InChannel([] { return m_smo_opt.sm_get_timeout(); });
}

int32_t cx_dlg_get_errinf(char* text) {
  if (text == nullptr) return CX_DLG_BAD_ARGUMENT;
  const char* const reason = g_has_ended ? "" : m_smo_opt.sm_get_errinf();
  const size_t len = strlen(reason);
  memcpy(text, reason, len + 1);
  return static_cast<int32_t>(len);
}
