// Texts that a host hands over. The input is a request to the JSON gateway; its
// lines are also what a reader may call itself in a reply, and a level with the
// texts of two records.
#include <vector>

#include "fuzzing.h"
#include "mv_fpi/json_gateway.h"

namespace {

using fuzzing::Input;

// Heap memory of exactly the promised size: the sanitizer guards its end.
using Reply = std::vector<char>;

void ExpectText(const Reply& reply, int64_t length) {
  MUST(length > 0 && length < DEV_REPLY_BYTES);
  MUST(std::strlen(reply.data()) == static_cast<size_t>(length));
}

// No port of that name is there, so each call ends at the port or before.
void Call(const std::string& request) {
  std::vector<char> port(corvex::kPortTextBytes + 1);
  char spare = '#';
  CxSplitJson(request.c_str(), port.data(), &spare);
  MUST(port.back() == '\0' && spare == '#');
  Reply reply(DEV_REPLY_BYTES);
  unsigned int length = 0;
  MUST(DEV_CommCall(request.c_str(), &spare, reply.data(), &length) < 0);
  ExpectText(reply, length);
}

void AddReply(Input input) {
  const std::string version = input.Line().substr(0, FG_VERSION_BYTES - 1);
  const std::string sn = input.Line().substr(0, FG_SN_BYTES);
  const std::string date = sn.substr(0, 8);
  Reply reply(DEV_REPLY_BYTES);
  ExpectText(reply, CxAddJson(0, "获取设备信息成功", version.c_str(),
                              sn.c_str(), date.c_str(), reply.data()));
}

void Match(Input input) {
  const std::string level = input.Line();
  const std::string first = input.Line();
  const int result = FG_FpMatch(first.c_str(), input.Rest().c_str(),
                                level.empty() ? 0 : (level[0] & 7) % 6);
  MUST(result == FG_ERR_NO_MATCH || result == FG_ERR_NO_LIBRARY ||
       (result >= 0 && result <= 100));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Input input(data, size);
  Call(input.Rest());
  AddReply(input);
  Match(input);
  return 0;
}
