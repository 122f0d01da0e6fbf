// Base64 text, and two texts compared as a host gives them: a level's digit
// and two lines.
#include <vector>

#include "fuzzing.h"
#include "mv_base/base64.h"
#include "mv_fpi.h"

namespace {

using fuzzing::Input;

// Decodes into exactly the room that is promised to suffice, and encodes back.
void RoundTrip(const std::string& text) {
  const auto chars = static_cast<int32_t>(text.size());
  const int32_t room = CodeB64(kDecode, nullptr, text.data(), chars);
  std::vector<uint8_t> bytes(static_cast<size_t>(room));
  uint8_t spare = 0;
  uint8_t* const out = bytes.empty() ? &spare : bytes.data();
  const int32_t decoded = DecodeB64(out, text.data(), chars);
  MUST(decoded >= 0 && decoded <= room);
  std::string again(static_cast<size_t>(Base64Length(decoded)) + 1, '#');
  const int32_t encoded = EncodeB64(again.data(), out, decoded);
  MUST(encoded == Base64Length(decoded));
  MUST(again.back() == '\0');
  // All groups but the last hold three bytes and are the input's own.
  const auto whole = static_cast<size_t>(decoded / 3 * 4);
  MUST(again.compare(0, whole, text, 0, whole) == 0);
}

bool IsMatchResult(int result, int level) {
  if (result == FG_ERR_NO_MATCH || result == FG_ERR_NO_LIBRARY) return true;
  return level == 0 ? result >= 0 && result <= 100 : result == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const std::string digit = input.Line();
  const int level = digit.empty() ? 0 : (digit[0] & 7) % 6;
  const std::string first = input.Line();
  const std::string second = input.Rest();
  RoundTrip(first);
  RoundTrip(second);
  MUST(IsMatchResult(FG_FpMatch(first.c_str(), second.c_str(), level), level));
  return 0;
}
