#include "mv_fpi/call_frame.h"

#include <cstdio>

#include "mv_base/clock.h"
#include "mv_base/diagnostic_log.h"
#include "mv_cmd/commands.h"

namespace corvex {

void SetMessage(char* message, const char* text) {
  if (message != nullptr) snprintf(message, FG_MESSAGE_BYTES, "%s", text);
}

void LogStart(const CallTraits& call) {
  if (call.logs_start) MV_LOG("%s 开始...\n", call.name);
}

int32_t RefuseArguments(const CallTraits& call) {
  MV_LOG("%s 参数错误[%d]\n\n", call.name, FG_ERR_ARGUMENT);
  return FG_ERR_ARGUMENT;
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
  return 0;
}

void LogEnd(const CallTraits& call, int32_t result) {
  MV_LOG("%s 结束[%d]\n\n", call.name, result);
}

}  // namespace corvex
