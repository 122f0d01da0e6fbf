// A named lock between processes, with a time-out.
#ifndef CORVEX_CAPDLG_SMO_MUTEX_LOCK_H_
#define CORVEX_CAPDLG_SMO_MUTEX_LOCK_H_

#include <cstdint>
#include <string>

// Holding the lock means holding an exclusive flock on the file of its name.
// The kernel releases it when the process ends. For one thread at a time.
class CxMutexCls {
 public:
  // Stores the lock file's path and the longest wait; opens nothing. Always 0.
  int32_t mutex_init(const char* name, int32_t timeout_ms);
  // Releases what this object holds, then waits for the lock. 0, or -1 after
  // the time-out and, at once, when the file cannot be opened.
  int32_t mutex_lock();
  // Always 0.
  int32_t mutex_unlock();
  // Deliberate: does nothing, not even release a held lock; every user unlocks
  // right after its critical section. Always 0.
  int32_t mutex_uninit();

 protected:
  // Units of priUseTime.
  enum TimeUnit : int32_t {
    kSeconds = 0,
    kMilliseconds = 1,
    kMicroseconds = 2,
    kNanoseconds = 3
  };

  // Releases what is held first. The descriptor, or -1.
  int32_t priMutexLock_linux();
  int32_t priMutexUnLock_linux();
  // Time since the start mark by the wall clock, modulo the unit's period. A
  // mark of 0 starts the watch. 0 for an unknown unit.
  int32_t priUseTime(int32_t& start_mark, int32_t unit);

  // The places of a Windows build; nothing calls them here.
  int32_t priMutexCreate_win32() { return 0; }
  int32_t priMutexDelete_win32() { return 0; }
  int32_t priMutexLock_win32() { return 0; }
  int32_t priMutexUnLock_win32() { return 0; }

  int32_t lock_file_ = -1;  // held while it is open
  int32_t timeout_ms_ = 0;
  void* win32_mutex_ = nullptr;   // of a Windows build; unused here
  void* win32_handle_ = nullptr;  // of a Windows build; unused here
  std::string name_;
};

#endif  // CORVEX_CAPDLG_SMO_MUTEX_LOCK_H_
