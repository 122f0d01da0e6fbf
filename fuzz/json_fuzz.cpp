// The JSON gateway: the input is a request; its lines are also what a reader
// may call itself in a reply.
#include <memory>

#include "fuzzing.h"
#include "mv_fpi/json_gateway.h"

namespace {

using fuzzing::Input;

// Heap memory of exactly the promised size: the sanitizer guards its end.
using ReplyBuffer = std::unique_ptr<char[]>;
ReplyBuffer NewReply() { return std::make_unique<char[]>(DEV_REPLY_BYTES); }

void ExpectReply(const ReplyBuffer& reply, int64_t length) {
  MUST(length > 0 && length < DEV_REPLY_BYTES);
  MUST(std::strlen(reply.get()) == static_cast<size_t>(length));
}

void Split(const std::string& request) {
  const auto port = std::make_unique<char[]>(corvex::kPortTextBytes + 1);
  char spare = '#';
  const int32_t result = CxSplitJson(request.c_str(), port.get(), &spare);
  MUST(result == 0 || result == corvex::kJsonBadField ||
       result == corvex::kJsonUnusable);
  MUST(port[corvex::kPortTextBytes] == '\0' && spare == '#');
}

// No port of that name is there, so each call ends at the port or before.
void Call(const std::string& request) {
  const ReplyBuffer reply = NewReply();
  unsigned int length = 0;
  char reserved = 0;
  const int result =
      DEV_CommCall(request.c_str(), &reserved, reply.get(), &length);
  MUST(result < 0);
  ExpectReply(reply, static_cast<int64_t>(length));
}

void AddReply(Input input) {
  const std::string version = input.Line().substr(0, FG_VERSION_BYTES - 1);
  const std::string sn = input.Line().substr(0, FG_SN_BYTES);
  const std::string date = sn.substr(0, 8);
  const ReplyBuffer reply = NewReply();
  ExpectReply(reply, CxAddJson(0, "获取设备信息成功", version.c_str(),
                               sn.c_str(), date.c_str(), reply.get()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string request(reinterpret_cast<const char*>(data), size);
  Split(request);
  Call(request);
  AddReply(Input(data, size));
  return 0;
}
