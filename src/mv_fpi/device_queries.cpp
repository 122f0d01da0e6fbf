// FG_GetDevVersion, FG_GetDevSn, FG_CheckPressed.
#include <cstring>

#include "mv_base/diagnostic_log.h"
#include "mv_cmd/commands.h"
#include "mv_fpi/call_frame.h"

namespace {

using corvex::CallTraits;
using corvex::LinkArguments;
using corvex::RunCall;

constexpr CallTraits kVersionCall = {"FG_GetDevVersion"};
constexpr CallTraits kSerialCall = {"FG_GetDevSn"};
// Deliberate: no start line, and a failed open is logged as the port gave it.
constexpr CallTraits kCheckCall = [] {
  CallTraits call = {"FG_CheckPressed"};
  call.logs_start = false;
  call.logged_open_failure = -1;
  return call;
}();

int32_t QueryVersion(int32_t port, char* version) {
  char text[128] = {};
  const int32_t result = corvex_get_version(port, text);
  if (result < 0) {
    MV_LOG("%s 获取设备版本信息失败[%d]\n", kVersionCall.name, result);
    return result;
  }
  std::memcpy(version, text, static_cast<size_t>(result) + 1);
  return FG_OK;
}

int32_t QuerySerial(int32_t port, char* sn) {
  char bytes[128] = {};
  const int32_t result = corvex_get_sn(port, bytes);
  if (result < 0) {
    MV_LOG("%s 获取SN序列号失败[%d]\n", kSerialCall.name, result);
    return result;
  }
  std::memcpy(sn, bytes, FG_SN_BYTES);
  return FG_OK;
}

}  // namespace

int FG_GetDevVersion(const char* port, const char* bp_select, int link_speed,
                     char* version) {
  return RunCall(kVersionCall, LinkArguments{port, bp_select, link_speed},
                 nullptr, version != nullptr,
                 [=](int32_t fd) { return QueryVersion(fd, version); });
}

int FG_GetDevSn(const char* port, const char* bp_select, int link_speed,
                char* sn) {
  return RunCall(kSerialCall, LinkArguments{port, bp_select, link_speed},
                 nullptr, sn != nullptr,
                 [=](int32_t fd) { return QuerySerial(fd, sn); });
}

int FG_CheckPressed(const char* port, const char* bp_select, int link_speed) {
  // Deliberate: a failed probe is no finger either.
  return RunCall(kCheckCall, LinkArguments{port, bp_select, link_speed},
                 nullptr, true, [](int32_t fd) {
                   return corvex_get_check(fd) == 0 ? FG_OK : FG_ERR_NO_FINGER;
                 });
}
