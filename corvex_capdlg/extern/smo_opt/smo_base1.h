// The record that the driver and the prompt program share, and the prompt
// program's process.
#ifndef CORVEX_CAPDLG_EXTERN_SMO_OPT_SMO_BASE1_H_
#define CORVEX_CAPDLG_EXTERN_SMO_OPT_SMO_BASE1_H_

#include <cstdint>
#include <string>

#include "cx_capdlg_lib.h"
#include "extern/smo_opt/smo_base0.h"
#include "smo_mutex_lock.h"

// Known to every driver and prompt program. The file need not exist. Where the
// lock's directory does not exist either, the block is used without a lock.
constexpr char kSegmentPath[] = "/tmp/521E41E74F4E46E2A64071A0AEF4DF01";
constexpr char kBlockLockPath[] = "/bmp/521E41E74F4E46E2A64071A0AEF4DF02";

// Copies a text into the record: past its field where it is long, never past
// the record.
void CopyRecordText(smo_data_t& record, const char* text);

// Whether a picture of that many bytes is there and fits its field.
constexpr bool IsImageLength(int32_t bytes) {
  return bytes > 0 && bytes <= CX_SMO_IMAGE_BYTES;
}

// One object a process, for one thread at a time. Results are the codes of
// CX_DLG_*, or process ids.
class CxSmoBase1 : public CxSmoBase0 {
 public:
  CxSmoBase1() = default;
  ~CxSmoBase1() { sm_opt_uninit(); }

  // The writer's side: creates the segment, with nothing pending in it.
  int32_t sm_opt_init(int32_t size);
  int32_t sm_opt_uninit();

  // Posts an item from the staging record; an unknown kind posts nothing.
  int32_t sm_set_data(int32_t kind, const smo_data_t& staging);
  // Takes the most urgent pending item: 1, or CX_DLG_NOTHING with `item`
  // untouched.
  int32_t sm_get_data(smo_data_t& item);
  int32_t sm_get_dlgtype();
  int32_t sm_get_timeout();
  // The last failure; valid until the next one.
  const char* sm_get_errinf() const { return error_text_.c_str(); }

  // Starts a program, killing one that runs; a relative path starts at the
  // running executable's directory. Process id, CX_DLG_NO_PROGRAM, or
  // CX_DLG_FAILED when it is not up after 3 s.
  int32_t sm_run_appfile(const std::string& path);
  // Process id, or CX_DLG_NOT_RUNNING.
  int32_t sm_app_running(const std::string& path);
  // Waits for the program's end, then kills it: 0, or the id of the killed.
  int32_t sm_exit_apprun(const std::string& path, int32_t wait_ms);
  // Changes to the directory of `path`, remembering the present one; or, with
  // `remember` false, back to the remembered one.
  int32_t smo_chdir(bool remember, const std::string& path);

 protected:
  int32_t priRunAppFile(const std::string& full_path);
  int32_t priAppRunning(const std::string& path);
  int32_t priExitAppRun(const std::string& path, int32_t wait_ms);
  static std::string priGetAppExeN(const std::string& path);

 private:
  // Keeps the reason of a failure, behind the place that it is told from.
  void SetError(const std::string& reason, int line = __builtin_LINE());
  // On failure the error text names the operation.
  bool AttachRecord(const char* operation);
  void LockBlock();
  smo_data_t& Block() { return *static_cast<smo_data_t*>(sm_address_); }
  int32_t TakeItem(smo_data_t& item);

  [[maybe_unused]] bool flag_ = false;  // part of the object's layout
  CxMutexCls lock_;
  std::string error_text_;
};

#endif  // CORVEX_CAPDLG_EXTERN_SMO_OPT_SMO_BASE1_H_
