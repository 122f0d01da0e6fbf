#include "cx_file_lock/cx_file_lock.h"

#include <sys/file.h>
#include <unistd.h>

#include "mv_base/lock_file.h"

int32_t cx_file_lock() {
  const int file = corvex::OpenLockFile(kCallLockPath);
  if (file < 0) return -1;
  if (flock(file, LOCK_EX | LOCK_NB) == 0) return file;
  close(file);
  return -1;
}

int32_t cx_file_unlock(int32_t handle) {
  if (handle < 0) return 0;
  const int32_t result = flock(handle, LOCK_UN | LOCK_NB);
  close(handle);
  return result;
}
