#include "mv_cmd/commands.h"

#include <cstdio>
#include <cstring>

#include "mv_base/base64.h"
#include "mv_base/diagnostic_log.h"
#include "mv_base/wipe.h"
#include "mv_cmd/frame.h"
#include "mv_cmd/serial_port.h"

namespace {

// Room for every reply, zeroed: a shorter one reads as zeros beyond its end.
struct Reply {
  uint8_t data[2048] = {};
  uint32_t length = 0;

  Reply() = default;
  ~Reply() { corvex::Wipe(data, length); }
  Reply(const Reply&) = delete;
  Reply& operator=(const Reply&) = delete;
};
static_assert(sizeof(Reply::data) >= kMaxReplyBytes);

// A request's fixed bytes; those of the commands without payload still need an
// address.
constexpr uint8_t kNoPayload[1] = {};
constexpr uint8_t kCheckPayload[] = {0x00};
constexpr uint8_t kFeaturePayload[] = {0x01};
constexpr uint8_t kSerialPayload[] = {0x0E, 0, 0, 0x32, 0, 0, 0};
// The first byte chooses the output.
constexpr uint8_t kLedPayload[] = {0x00, 0x0A};
constexpr uint8_t kBeepPayload[] = {0x01, 0x0A};

template <int32_t kLength>
int32_t Exchange(int32_t fd, Command cmd, const uint8_t (&payload)[kLength],
                 Reply* reply) {
  return corvex_dev_io(fd, cmd, payload, kLength, reply->data, &reply->length);
}

int32_t BadArgument(const char* function) {
  MV_LOG("%s 参数错误[-1]\n", function);
  return kDevBadArgument;
}

}  // namespace

int32_t corvex_get_version(int32_t fd, char* out) {
  Reply reply;
  const int32_t result =
      corvex_dev_io(fd, kCmdVersion, kNoPayload, 0, reply.data, &reply.length);
  if (result < 0) {
    // Deliberate: the name and the number are not this call's.
    MV_LOG("corvex_get_sn 获取固件版本失败[-1]\n");
    return result;
  }
  return snprintf(out, kVersionTextBytes, "v%d.%d", reply.data[0],
                  reply.data[1]);
}

int32_t corvex_get_sn(int32_t fd, char* out) {
  if (fd < 0 || out == nullptr) return BadArgument("corvex_get_sn");
  Reply reply;
  const int32_t result = Exchange(fd, kCmdSerial, kSerialPayload, &reply);
  if (result < 0) {
    MV_LOG("corvex_get_sn 获取设备SN失败[%d]\n", result);
    return result;
  }
  std::memcpy(out, reply.data, kSerialBytes);
  return kSerialBytes;
}

int32_t corvex_set_led(int32_t fd, int32_t /*mode*/) {
  if (fd < 0) return BadArgument("corvex_set_led");
  Reply reply;
  return Exchange(fd, kCmdSignal, kLedPayload, &reply);
}

void corvex_set_beep(int32_t fd, int32_t /*mode*/) {
  if (fd < 0) {
    BadArgument("corvex_set_beep");
    return;
  }
  Reply reply;
  Exchange(fd, kCmdSignal, kBeepPayload, &reply);
}

int32_t corvex_set_rate(int32_t fd, int32_t index) {
  if (fd < 0 || index < 0 || index > 7) return BadArgument("corvex_set_rate");
  const uint8_t payload[] = {static_cast<uint8_t>(index)};
  Reply reply;
  return Exchange(fd, kCmdRate, payload, &reply);
}

int32_t corvex_get_check(int32_t fd) {
  if (fd < 0) return BadArgument("corvex_get_check");
  Reply reply;
  const int32_t result = Exchange(fd, kCmdCheck, kCheckPayload, &reply);
  if (result < 0 && result != kDevNoFinger) {
    MV_LOG("corvex_get_check 探测手指失败[%d]\n", result);
  }
  return result;
}

int32_t corvex_get_feature(int32_t fd, uint8_t* out, int32_t encode) {
  if (fd < 0 || out == nullptr) return BadArgument("corvex_get_feature");
  Reply reply;
  const int32_t result = Exchange(fd, kCmdFeature, kFeaturePayload, &reply);
  if (result < 0) {
    // Deliberate: the probe's text.
    MV_LOG("corvex_get_check 探测手指失败[%d]\n", result);
    return result;
  }
  if (result < kMinFeatureBytes) return result;
  if (encode != 0) return CodeB64(kEncode, out, reply.data, result);
  std::memcpy(out, reply.data, static_cast<size_t>(result));
  return result;
}

int32_t corvex_set_bpbox(int32_t fd, const char* select) {
  constexpr uint8_t kEscape = 0x1B;
  const char letter = select != nullptr ? *select : '\0';
  const bool known = letter != '\0' && std::strchr("ABCK", letter) != nullptr;
  if (fd < 0 || !known) return BadArgument("corvex_set_bpbox");
  const uint8_t sequence[] = {kEscape, '%', static_cast<uint8_t>(letter)};
  return corvex_write_data(fd, sequence, sizeof sequence);
}
