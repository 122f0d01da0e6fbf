// FG_GetFeature: wait for a finger, read its feature as Base64 text.
#include <cstring>
#include <functional>

#include "mv_base/base64.h"
#include "mv_base/clock.h"
#include "mv_base/diagnostic_log.h"
#include "mv_base/wipe.h"
#include "mv_cmd/commands.h"
#include "mv_cmd/frame.h"
#include "mv_fpi/call_frame.h"
#include "mv_fpi/deadline.h"

namespace corvex {
namespace {

constexpr CallTraits kCall = {"FG_GetFeature"};

// The caller's buffers.
struct Output {
  char* feature;
  int* feature_len;
  char* message;
};

int32_t SetReaderSpeed(int32_t port, char* message) {
  const int32_t result = corvex_set_rate(port, kRate9600);
  if (result < 0) {
    MV_LOG("%s 设备波特率失败[%d]\n", kCall.name, result);
    SetMessage(message, "设备串口波特率失败");
    return FG_ERR_SELECTOR;
  }
  MV_LOG("%s 设备波特率完成\n", kCall.name);
  return FG_OK;
}

int32_t ReadFeature(int32_t port, const Output& out) {
  // Larger than the caller's: the reader may send more than fits there.
  char text[Base64Length(kMaxReplyBytes) + 1] = {};
  const WipeAtEnd wipe(&text);
  int32_t result =
      corvex_get_feature(port, reinterpret_cast<uint8_t*>(text), /*encode=*/1);
  if (result >= FG_FEATURE_BYTES) result = FG_DEV_TOO_LONG;
  if (result < 0) {
    MV_LOG("%s 采集指纹特征失败[%d]\n", kCall.name, result);
    SetMessage(out.message, "采集指纹特征失败");
    return result;
  }
  const size_t length = std::strlen(text);
  std::memcpy(out.feature, text, length + 1);
  *out.feature_len = static_cast<int>(length);
  MvSleep(kBeepMs);
  corvex_set_beep(port, 0);
  SetMessage(out.message, "采集指纹特征成功");
  return FG_OK;
}

int32_t Capture(int32_t port, const Deadline& deadline, const Output& out) {
  const int32_t speed = SetReaderSpeed(port, out.message);
  if (speed < 0) return speed;
  while (!deadline.Passed()) {
    MvSleep(kProbeMs);
    const int32_t probe = corvex_get_check(port);
    if (probe == kDevNoFinger) {
      MV_LOG("%s 没有检测到手指\n", kCall.name);
    } else if (probe < 0) {
      MV_LOG("%s 探测手指出错[%d]\n", kCall.name, probe);
      return probe;
    } else {
      MV_LOG("%s 已经检测到手指\n", kCall.name);
      MvSleep(kCaptureMs);
      return ReadFeature(port, out);
    }
  }
  MV_LOG("%s 采集指纹特征超时[%d]\n", kCall.name, FG_ERR_TIMEOUT);
  SetMessage(out.message, "采集指纹特征超时");
  return FG_ERR_TIMEOUT;
}

}  // namespace
}  // namespace corvex

int FG_GetFeature(const char* port, const char* bp_select, int link_speed,
                  int timeout_s, char* feature, int* feature_len,
                  char* message) {
  const corvex::Deadline deadline(timeout_s);
  const bool arguments_ok = timeout_s > 0 && feature != nullptr &&
                            feature_len != nullptr && message != nullptr;
  const corvex::Output out = {feature, feature_len, message};
  const auto work = [&](int32_t fd) {
    return corvex::Capture(fd, deadline, out);
  };
  return corvex::RunCall(corvex::kCall,
                         corvex::LinkArguments{port, bp_select, link_speed},
                         message, arguments_ok, std::cref(work));
}
