// The frame around every exported device call: check, lock, open, selector,
// pause ... close, unlock. It exists once; a call states its own work and, as
// data, what it does differently.
#ifndef SRC_MV_FPI_CALL_FRAME_H_
#define SRC_MV_FPI_CALL_FRAME_H_

#include <cstdint>

#include "cx_file_lock/cx_file_lock.h"
#include "mv_cmd/serial_port.h"
#include "mv_fpi.h"

namespace corvex {

constexpr char kLogSource[] = "src/mv_fpi";

constexpr uint32_t kSettleMs = 250;  // between two commands
constexpr uint32_t kProbeMs = 500;   // between finger probes

// What a call does differently from the others.
struct CallTraits {
  const char* name;
  bool logs_start = true;
  bool settles = true;  // pauses before its own work
  int32_t logged_open_failure = FG_ERR_PORT;
};

// The arguments that every device call begins with.
struct LinkArguments {
  const char* port;
  const char* bp_select;
  int32_t speed;

  bool Valid() const {
    return port != nullptr && bp_select != nullptr && speed == FG_LINK_SPEED;
  }
};

// Lock and port of one call; the order of taking and giving back is the
// contract.
class CallScope {
 public:
  explicit CallScope(const char* port_name)
      : lock_(cx_file_lock()),
        port_(lock_ >= 0 ? corvex_open_uart(port_name) : -1) {}
  ~CallScope() {
    if (!Locked()) return;     // nothing was taken, nothing is touched
    corvex_close_uart(port_);  // Deliberate: also after a failed open
    cx_file_unlock(lock_);
  }
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;

  bool Locked() const { return lock_ >= 0; }
  bool IsOpen() const { return port_ >= 0; }
  int32_t Port() const { return port_; }

 private:
  const int32_t lock_;
  const int32_t port_;  // after lock_: the port opens only under the lock
};

// Copies a status text into the caller's message buffer, if the call has one.
void SetMessage(char* message, const char* text);

// The frame's steps, for RunCall.
void LogStart(const CallTraits& call);
int32_t RefuseArguments(const CallTraits& call);
int32_t FailOpen(const CallTraits& call, char* message);
int32_t ReachReader(const CallTraits& call, int32_t port, const char* bp_select,
                    char* message);
void LogEnd(const CallTraits& call, int32_t result);

// Runs one call around `work`, an int32_t(int32_t port). The message buffer is
// null for calls without one.
template <typename Work>
int32_t RunCall(const CallTraits& call, const LinkArguments& link,
                char* message, bool own_arguments_ok, const Work& work) {
  LogStart(call);
  if (!own_arguments_ok || !link.Valid()) return RefuseArguments(call);
  int32_t result = 0;
  {
    const CallScope scope(link.port);
    if (!scope.Locked()) return FG_ERR_BUSY;
    result = scope.IsOpen()
                 ? ReachReader(call, scope.Port(), link.bp_select, message)
                 : FailOpen(call, message);
    if (result == 0) result = work(scope.Port());
  }
  LogEnd(call, result);
  return result;
}

}  // namespace corvex

#endif  // SRC_MV_FPI_CALL_FRAME_H_
