// Why a call did not get the lock that lets one run at a time.
#ifndef APPS_MVFP_MACHINE_CALL_LOCK_H_
#define APPS_MVFP_MACHINE_CALL_LOCK_H_

#include <string>

namespace corvex::mvfp {

struct LockTrouble {
  bool is_held = false;  // by another call, which ends; else it is no lock
  std::string text;      // "held by a call of mvfp (process 12), ..."
  std::string command;   // that mends it, or tells more; may be empty
};

// `error` is what taking the lock left in errno.
LockTrouble ExplainLock(int error);

// Tries the lock as a call does and gives it back: errno, or 0.
int TryCallLock();

// Does the kernel say that somebody holds it? Takes nothing, and so is in
// nobody's way; holders in another container are not seen.
bool IsCallLockHeld();

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_MACHINE_CALL_LOCK_H_
