#include "mv_fpi/call_frame.h"

#include <cstdio>

#include "cx_file_lock/cx_file_lock.h"
#include "mv_base/clock.h"
#include "mv_base/diagnostic_log.h"
#include "mv_cmd/commands.h"
#include "mv_cmd/serial_port.h"

namespace corvex {
namespace {

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

bool IsValid(const LinkArguments& link) {
  return link.port != nullptr && link.bp_select != nullptr &&
         link.speed == FG_LINK_SPEED;
}

int32_t FailOpen(const CallTraits& call, char* message) {
  MV_LOG("%s 打开串口失败[%d]\n", call.name, call.logged_open_failure);
  SetMessage(message, "打开串口失败");
  return FG_ERR_PORT;
}

int32_t ReachReader(const CallTraits& call, int32_t port, const char* bp_select,
                    char* message) {
  if (*bp_select != '\0') {
    MvSleep(kSettleMs);
    if (corvex_set_bpbox(port, bp_select) < 0) {
      MV_LOG("%s 下发BP盒指令失败[%d]\n", call.name, FG_ERR_SELECTOR);
      SetMessage(message, "下发BP盒指令失败");
      return FG_ERR_SELECTOR;
    }
  }
  if (call.settles) MvSleep(kSettleMs);
  return FG_OK;
}

}  // namespace

void SetMessage(char* message, const char* text) {
  if (message != nullptr) snprintf(message, FG_MESSAGE_BYTES, "%s", text);
}

int32_t RunCall(const CallTraits& call, const LinkArguments& link,
                char* message, bool own_arguments_ok,
                const std::function<int32_t(int32_t port)>& work) {
  if (call.logs_start) MV_LOG("%s 开始...\n", call.name);
  if (!own_arguments_ok || !IsValid(link)) {
    MV_LOG("%s 参数错误[%d]\n\n", call.name, FG_ERR_ARGUMENT);
    return FG_ERR_ARGUMENT;
  }
  int32_t result = FG_OK;
  {
    const CallScope scope(link.port);
    if (!scope.Locked()) return FG_ERR_BUSY;
    result = scope.IsOpen()
                 ? ReachReader(call, scope.Port(), link.bp_select, message)
                 : FailOpen(call, message);
    if (result == FG_OK) result = work(scope.Port());
  }
  MV_LOG("%s 结束[%d]\n\n", call.name, result);
  return result;
}

}  // namespace corvex
