// The driver-wide call lock: one device call at a time on the machine. Held
// while a call has the port open; dies with its holder.
#ifndef SRC_CX_FILE_LOCK_CX_FILE_LOCK_H_
#define SRC_CX_FILE_LOCK_CX_FILE_LOCK_H_

#include <cstdint>

constexpr char kCallLockPath[] = "/tmp/cx_nrbk_drv_file_mutex.lock";

// One attempt, no wait. Returns the lock's handle (0 or more), or -1 when it
// is held elsewhere, also in this process, or its file cannot be opened.
int32_t cx_file_lock();

// Returns 0, or -1 when the unlock failed. A negative handle is accepted and
// does nothing.
int32_t cx_file_unlock(int32_t handle);

#endif  // SRC_CX_FILE_LOCK_CX_FILE_LOCK_H_
