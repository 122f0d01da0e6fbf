#include "mv_fpi/json_gateway.h"

#include <cjson/cJSON.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "mv_base/diagnostic_log.h"
#include "mv_fpi/call_frame.h"

namespace corvex {
namespace {

struct TreeDeleter {
  void operator()(cJSON* tree) const { cJSON_Delete(tree); }
};
using Tree = std::unique_ptr<cJSON, TreeDeleter>;

constexpr char kFunctionCode[] = "0001";
constexpr size_t kFunctionCodeLen = sizeof kFunctionCode - 1;

constexpr char kDone[] = "获取设备信息成功";
constexpr char kBadArgument[] = "参数错误";
constexpr char kDisconnected[] = "指纹设备断开";
constexpr char kFailed[] = "获取设备信息失败";

constexpr char kBrand[] = "KOVA";
constexpr char kDllVersion[] = "2024.11.27";
constexpr char kModel[] = "MV5120";

// The last six characters of a full serial number are a date, YYMMDD.
constexpr int kSnDateAt = 26;
constexpr int kSnDateLen = 6;
static_assert(kSnDateAt + kSnDateLen == FG_SN_BYTES);

bool IsString(const cJSON* item) {
  return (item->type & 0xFF) == cJSON_String && item->valuestring != nullptr;
}

int32_t CheckFunctionCode(const cJSON* request) {
  const cJSON* const item = cJSON_GetObjectItem(request, "FunctionCode");
  if (item == nullptr) {
    MV_LOG_SHORT("CxSplitJson 解析交易号失败\n");
    return kJsonUnusable;
  }
  if (!IsString(item)) {
    MV_LOG_SHORT("CxSplitJson 交易号类型不对\n");
    return kJsonBadField;
  }
  char code[kFunctionCodeLen + 1];
  snprintf(code, sizeof code, "%s", item->valuestring);
  if (strcmp(code, kFunctionCode) != 0) {
    // Deliberate: any other function is answered like this one.
    MV_LOG_SHORT("CxSplitJson 交易号错误[%s]\n", code);
  }
  return 0;
}

int32_t CopyPort(const cJSON* request, char* port_out) {
  const cJSON* const item = cJSON_GetObjectItem(request, "RequestPort");
  if (item == nullptr) {
    MV_LOG_SHORT("CxSplitJson 解析端口号失败\n");
    return kJsonBadField;
  }
  if (!IsString(item)) {
    MV_LOG_SHORT("CxSplitJson 端口号类型不对\n");
    return kJsonBadField;
  }
  const size_t len = strlen(item->valuestring);
  if (len == 0) {
    MV_LOG_SHORT("CxSplitJson 解析端口号长度异常\n");
    return kJsonBadField;
  }
  if (len > kPortTextBytes) {
    MV_LOG_SHORT("CxSplitJson 解析端口号长度超长[%d]\n", static_cast<int>(len));
    return kJsonBadField;
  }
  memcpy(port_out, item->valuestring, len);
  return 0;
}

struct Item {
  const char* key;
  const char* value;
};

template <size_t kCount>
bool AddItems(cJSON* reply, const Item (&items)[kCount]) {
  for (const Item& item : items) {
    if (cJSON_AddStringToObject(reply, item.key, item.value) == nullptr) {
      return false;
    }
  }
  return true;
}

// What the reader said about itself.
struct DeviceInfo {
  char sn[FG_SN_BYTES + 1] = {};  // a full one comes without a terminator
  char version[FG_VERSION_BYTES] = {};
  char date[2 + kSnDateLen + 1] = {};
};

int32_t QueryDevice(const char* port_text, DeviceInfo* info) {
  char port[sizeof "COM-2147483648"];
  // Deliberate: not the value that strtol gives but its low 32 bits, and 0 for
  // what is no number.
  const int number = static_cast<int>(strtol(port_text, nullptr, 10));
  snprintf(port, sizeof port, "COM%d", number);
  MV_LOG("DEV_CommCall 端口号[%s]\n", port);
  int32_t result = FG_GetDevSn(port, "", FG_LINK_SPEED, info->sn);
  if (result < 0) return result;
  result = FG_GetDevVersion(port, "", FG_LINK_SPEED, info->version);
  if (result < 0) return result;
  snprintf(info->date, sizeof info->date, "20%s", info->sn + kSnDateAt);
  return result;
}

int32_t Answer(const char* request, DeviceInfo* info) {
  char port_text[kPortTextBytes + 1] = {};
  char spare[1];
  const int32_t result = CxSplitJson(request, port_text, spare);
  return result < 0 ? result : QueryDevice(port_text, info);
}

int32_t AddFailure(int32_t code, const char* message, char* reply) {
  return CxAddJson(code, message, nullptr, nullptr, nullptr, reply);
}

int32_t DescribeFailure(int32_t code, char* reply) {
  // Deliberate: the second reply takes the place of the first.
  if (code == FG_ERR_PORT) AddFailure(code, kDisconnected, reply);
  return AddFailure(code, code == kJsonBadField ? kBadArgument : kFailed,
                    reply);
}

}  // namespace
}  // namespace corvex

int32_t CxSplitJson(const char* text, char* port_out, char* spare_out) {
  using namespace corvex;
  if (text == nullptr || port_out == nullptr || spare_out == nullptr) {
    MV_LOG_SHORT("CxSplitJson 参数错误\n");
    return kJsonBadField;
  }
  const Tree request(cJSON_Parse(text));
  if (request == nullptr) {
    MV_LOG_SHORT("CxSplitJson 解析报文失败\n");
    return kJsonUnusable;
  }
  const int32_t result = CheckFunctionCode(request.get());
  return result < 0 ? result : CopyPort(request.get(), port_out);
}

int32_t CxAddJson(int32_t code, const char* message, const char* version,
                  const char* sn, const char* date, char* out) {
  using namespace corvex;
  if (message == nullptr || out == nullptr) {
    MV_LOG_SHORT("CxAddJson 参数错误\n");
    return kJsonBadField;
  }
  const Tree reply(cJSON_CreateObject());
  if (reply == nullptr) {
    MV_LOG_SHORT("CxAddJson 创建JSON对象失败\n");
    return kJsonUnusable;
  }
  char code_text[sizeof "-2147483648"];
  snprintf(code_text, sizeof code_text, "%d", code);
  bool whole = AddItems(reply.get(),
                        {{"ErrorCode", code_text}, {"ErrorMessage", message}});
  if (whole && code >= 0) {
    whole = AddItems(reply.get(), {{"DeviceBrand", kBrand},
                                   {"DllVersion", kDllVersion},
                                   {"DeviceVersion", version},
                                   {"DeviceSN", sn},
                                   {"ProductionDate", date},
                                   {"DeviceModel", kModel}});
  }
  // Not into `out` at once: what does not fit leaves a half text behind.
  char text[DEV_REPLY_BYTES];
  constexpr cJSON_bool kFormatted = 1;
  if (!whole || cJSON_PrintPreallocated(reply.get(), text, sizeof text,
                                        kFormatted) == 0) {
    MV_LOG_SHORT("CxAddJson 将pJson转成字符串失败\n");
    return kJsonUnusable;
  }
  const size_t len = strlen(text);
  memcpy(out, text, len + 1);
  return static_cast<int32_t>(len);
}

int DEV_CommCall(const char* request, void* reserved, char* reply,
                 unsigned int* reply_len) {
  using namespace corvex;
  MV_LOG("DEV_CommCall 开始...\n");
  if (request == nullptr || reserved == nullptr || reply == nullptr ||
      reply_len == nullptr) {
    MV_LOG("DEV_CommCall 参数错误[%d]\n\n", FG_ERR_ARGUMENT);
    return FG_ERR_ARGUMENT;
  }
  DeviceInfo info;
  const int32_t code = Answer(request, &info);
  const int32_t len = code < 0 ? DescribeFailure(code, reply)
                               : CxAddJson(code, kDone, info.version, info.sn,
                                           info.date, reply);
  // Deliberate: a reply that could not be made shows here, as a negative
  // number, and nowhere else.
  *reply_len = static_cast<unsigned int>(len);
  MV_LOG("DEV_CommCall 结束[%d]\n\n", code);
  return code;
}
