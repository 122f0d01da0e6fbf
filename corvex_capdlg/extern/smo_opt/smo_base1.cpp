#include "extern/smo_opt/smo_base1.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cx_logger.h"

using corvex::log_str_format;

namespace {

constexpr char kSourceFile[] = "smo_base1.cpp";
constexpr int32_t kLockWaitMs = 1000;
constexpr int32_t kStartWaitMs = 3000;
constexpr int32_t kStartPollMs = 100;
constexpr int32_t kExitPollMs = 10;

constexpr size_t kTextOffset = offsetof(smo_data_t, msg_text);
constexpr size_t kTextRoom = sizeof(smo_data_t) - kTextOffset;

// Where smo_chdir returns to.
std::string g_remembered_directory;

// Whether a process only waits for its parent to take note of its end. The
// program's parent is process 1, which in a container may never do so.
bool HasEnded(int32_t process) {
  const std::string path = "/proc/" + std::to_string(process) + "/stat";
  FILE* const file = fopen(path.c_str(), "re");
  if (file == nullptr) return false;
  char stat[128] = {};  // "<id> (<name, at most 15 characters>) <state> ..."
  const bool read = fgets(stat, sizeof stat, file) != nullptr;
  fclose(file);
  const char* const name_end = read ? strrchr(stat, ')') : nullptr;
  return name_end != nullptr && strncmp(name_end, ") Z", 3) == 0;
}

const char* RecordText(const smo_data_t& record) {
  return reinterpret_cast<const char*>(&record) + kTextOffset;
}

// The other process may write between two reads: every number of the block is
// read once, then judged and used.
int32_t ReadOnce(const int32_t& field) {
  return *static_cast<const volatile int32_t*>(&field);
}

bool CopyImage(const int32_t& from_len, const uint8_t* from, int32_t* to_len,
               uint8_t* to) {
  const int32_t len = ReadOnce(from_len);
  if (!IsImageLength(len)) return false;
  memcpy(to, from, static_cast<size_t>(len));
  *to_len = len;
  return true;
}

bool CopyImages(const smo_data_t& from, smo_data_t* to) {
  const bool first =
      CopyImage(from.img1_len, from.img1_data, &to->img1_len, to->img1_data);
  const bool second =
      CopyImage(from.img2_len, from.img2_data, &to->img2_len, to->img2_data);
  return first || second;
}

}  // namespace

void CopyRecordText(smo_data_t& record, const char* text) {
  char* const field = reinterpret_cast<char*>(&record) + kTextOffset;
  memset(field, 0, sizeof record.msg_text);
  const size_t len = strnlen(text, kTextRoom - 1);
  memcpy(field, text, len);
  field[len] = '\0';
}

int32_t CxSmoBase1::sm_opt_init(int32_t size) {
  const int32_t created = sm_create(kSegmentPath, size);
  if (created < 0) return created;
  if (size < CX_SMO_SIZE) return 0;  // holds no record
  // A killed host leaves its segment behind; what was pending in it, a close
  // request perhaps, is not for the window that starts now.
  LockBlock();
  smo_data_t& block = Block();
  block.quit_flag = block.msg_flag = block.img_flag = 0;
  block.img1_len = block.img2_len = 0;
  lock_.mutex_unlock();
  return 0;
}

int32_t CxSmoBase1::sm_opt_uninit() {
  lock_.mutex_uninit();
  return sm_delete();
}

void CxSmoBase1::SetError(const std::string& reason, int line) {
  error_text_ = log_str_format("%s %d %s", kSourceFile, line, reason.c_str());
}

bool CxSmoBase1::AttachRecord(const char* operation) {
  if (sm_get_address(kSegmentPath, sizeof(smo_data_t)) == 0) return true;
  SetError(log_str_format("%s. get share memory address failed. nret = [%d]",
                          operation, CX_DLG_FAILED));
  return false;
}

// Both sides name the lock where they take it: a prompt program creates no
// block. Deliberate: without the lock the block is used all the same.
void CxSmoBase1::LockBlock() {
  lock_.mutex_init(kBlockLockPath, kLockWaitMs);
  lock_.mutex_lock();
}

int32_t CxSmoBase1::sm_set_data(int32_t kind, const smo_data_t& staging) {
  if (!AttachRecord("sm_set_data")) return CX_DLG_FAILED;
  LockBlock();
  smo_data_t& block = Block();
  if (kind == SMO_SET_QUIT) {
    block.quit_flag = 1;
  } else if (kind == SMO_SET_DLGINFO) {
    block.timeout = staging.timeout;
    block.dlg_type = staging.dlg_type;
  } else if (kind == SMO_SET_MSG) {
    CopyRecordText(block, RecordText(staging));
    block.msg_flag = 1;
  } else if (kind == SMO_SET_IMAGES && CopyImages(staging, &block)) {
    block.img_flag = 1;
  }
  lock_.mutex_unlock();
  return 0;
}

int32_t CxSmoBase1::sm_get_data(smo_data_t& item) {
  if (!AttachRecord("sm_get_data")) return CX_DLG_FAILED;
  const smo_data_t& block = Block();
  if ((ReadOnce(block.quit_flag) | ReadOnce(block.msg_flag) |
       ReadOnce(block.img_flag)) == 0) {
    return CX_DLG_NOTHING;
  }
  LockBlock();
  const int32_t taken = TakeItem(item);
  lock_.mutex_unlock();
  return taken;
}

// A flag is 1 or it is not set: an over-long text leaves other numbers in the
// picture's flag, and they must not read as an item for ever.
int32_t CxSmoBase1::TakeItem(smo_data_t& item) {
  smo_data_t& block = Block();
  if (ReadOnce(block.quit_flag) == 1) {
    item.quit_flag = 1;
    block.quit_flag = 0;
    return 1;
  }
  if (ReadOnce(block.msg_flag) == 1) {
    CopyRecordText(item, RecordText(block));
    item.msg_flag = 1;
    block.msg_flag = 0;
    return 1;
  }
  if (ReadOnce(block.img_flag) == 1) {
    if (CopyImages(block, &item)) item.img_flag = 1;
    block.img_flag = 0;
    return 1;
  }
  return CX_DLG_NOTHING;
}

int32_t CxSmoBase1::sm_get_dlgtype() {
  if (!AttachRecord("sm_get_dlgtype")) return CX_DLG_FAILED;
  return ReadOnce(Block().dlg_type);
}

int32_t CxSmoBase1::sm_get_timeout() {
  if (!AttachRecord("sm_get_timeout")) return CX_DLG_FAILED;
  return ReadOnce(Block().timeout);
}

int32_t CxSmoBase1::sm_run_appfile(const std::string& path) {
  const std::string full_path =
      !path.empty() && path[0] == '/'
          ? path
          : corvex::log_get_app_path(corvex::kAppDirectory) + path;
  if (!corvex::log_file_exist(full_path)) {
    SetError(log_str_format("app file is not exist. nret = [%d] [%s]",
                            CX_DLG_NO_PROGRAM, path.c_str()));
    return CX_DLG_NO_PROGRAM;
  }
  const int32_t process = priRunAppFile(full_path);
  if (process < 0) {
    // Deliberate: the text says -18 where the call returns -1.
    SetError(log_str_format("app file run failed. nret = [%d] [%s]",
                            CX_DLG_NO_PROGRAM, path.c_str()));
    return CX_DLG_FAILED;
  }
  return process;
}

int32_t CxSmoBase1::sm_app_running(const std::string& path) {
  const int32_t process = priAppRunning(path);
  if (process < 0) {
    SetError(
        log_str_format("sm_app_running. app exited. nret = [%d] appname = [%s]",
                       process, path.c_str()));
  }
  return process;
}

int32_t CxSmoBase1::sm_exit_apprun(const std::string& path, int32_t wait_ms) {
  return priExitAppRun(path, wait_ms);
}

int32_t CxSmoBase1::priRunAppFile(const std::string& full_path) {
  if (priAppRunning(full_path) >= 0) priExitAppRun(full_path, 0);
  // The result tells nothing: the shell's child goes to the background, and a
  // host that ignores SIGCHLD gets an error whatever happened.
  [[maybe_unused]] const int ignored =
      system((corvex::ShellWord(full_path) + " 10&").c_str());
  int64_t start_mark = 0;
  while (true) {
    const int32_t process = priAppRunning(full_path);
    if (process >= 0) return process;
    if (corvex::log_is_timeout_ms(start_mark, kStartWaitMs) < 1) break;
    corvex::log_cx_sleep(kStartPollMs);
  }
  SetError(log_str_format(
      "priRunAppFile. run the file [%s] failed. nret = [%d] errno = [%d]",
      priGetAppExeN(full_path).c_str(), CX_DLG_FAILED, errno));
  return CX_DLG_FAILED;
}

int32_t CxSmoBase1::priAppRunning(const std::string& path) {
  const std::string output =
      corvex::log_run_cmd("pgrep -x " + corvex::ShellWord(priGetAppExeN(path)));
  // Output that is no process id must not become one: "kill -9 0" would end
  // the host and its whole process group.
  const char* line = output.c_str();
  int32_t process = atoi(line);
  while (process > 0 && HasEnded(process)) {
    line = strchr(line, '\n');
    process = line == nullptr ? 0 : atoi(++line);
  }
  return process > 0 ? process : CX_DLG_NOT_RUNNING;
}

int32_t CxSmoBase1::priExitAppRun(const std::string& path, int32_t wait_ms) {
  int64_t start_mark = 0;
  int32_t process;
  while (true) {
    process = priAppRunning(path);
    if (process < 0) return 0;
    if (corvex::log_is_timeout_ms(start_mark, wait_ms) < 1) break;
    corvex::log_cx_sleep(kExitPollMs);
  }
  SetError(log_str_format("priExitAppRun. force exit of app ... [%s]",
                          path.c_str()));
  corvex::log_run_cmd("kill -9 " + std::to_string(process));
  return process;
}

std::string CxSmoBase1::priGetAppExeN(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

int32_t CxSmoBase1::smo_chdir(bool remember, const std::string& path) {
  if (!remember && g_remembered_directory.empty()) return 0;
  if (remember) {
    char directory[260];
    if (getcwd(directory, sizeof directory) == nullptr) {
      SetError(log_str_format(
          "smo_chdir. get cur work path failed. nret = [%d]", CX_DLG_FAILED));
      return CX_DLG_FAILED;
    }
    g_remembered_directory = directory;
  }
  const std::string target =
      remember ? path.substr(0, path.rfind('/')) : g_remembered_directory;
  const int32_t changed = chdir(target.c_str());
  if (changed != 0) {
    SetError(log_str_format("smo_chdir. chdir failed. nret = [%d]", changed));
  }
  return changed;
}
