#include "mv_base/base64.h"

#include <array>
#include <cstring>

namespace {

// The 65th entry is the pad.
constexpr char kAlphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
constexpr char kPad = kAlphabet[64];
constexpr uint8_t kNoValue = 0xFF;

constexpr std::array<uint8_t, 256> MakeValues() {
  std::array<uint8_t, 256> values{};
  for (auto& value : values) value = kNoValue;
  for (uint8_t i = 0; i < 64; ++i) {
    values[static_cast<uint8_t>(kAlphabet[i])] = i;
  }
  return values;
}
constexpr std::array<uint8_t, 256> kValues = MakeValues();

}  // namespace

void B64encode(char* out, const uint8_t* in) {
  out[0] = kAlphabet[in[0] >> 2];
  out[1] = kAlphabet[((in[0] << 4) | (in[1] >> 4)) & 63];
  out[2] = kAlphabet[((in[1] << 2) | (in[2] >> 6)) & 63];
  out[3] = kAlphabet[in[2] & 63];
}

int32_t EncodeB64(char* out, const uint8_t* in, int32_t n) {
  if (out == nullptr || in == nullptr || n < 0) return kCodecBadArgument;
  char* const start = out;
  for (; n >= 3; n -= 3, in += 3, out += 4) B64encode(out, in);
  if (n > 0) {
    uint8_t group[3] = {};
    std::memcpy(group, in, static_cast<size_t>(n));
    B64encode(out, group);
    out[3] = kPad;
    if (n == 1) out[2] = kPad;
    out += 4;
  }
  *out = '\0';
  return static_cast<int32_t>(out - start);
}

int32_t B64decode(uint8_t* out, const char* in) {
  uint8_t value[4] = {};
  int32_t taken = 0;
  while (taken < 4) {
    const uint8_t v = kValues[static_cast<uint8_t>(in[taken])];
    if (v == kNoValue) break;
    value[taken++] = v;
  }
  if (taken >= 2) out[0] = static_cast<uint8_t>(value[0] << 2 | value[1] >> 4);
  if (taken >= 3) out[1] = static_cast<uint8_t>(value[1] << 4 | value[2] >> 2);
  if (taken == 4) out[2] = static_cast<uint8_t>(value[2] << 6 | value[3]);
  return taken == 0 ? 0 : taken - 1;
}

namespace {

// Decodes whole groups without looking at each character's validity in turn.
// Returns how many of the first `groups` were whole.
int32_t DecodeWholeGroups(uint8_t* out, const char* in, int32_t groups) {
  for (int32_t group = 0; group < groups; ++group, in += 4, out += 3) {
    const auto value = [in](int32_t i) -> uint32_t {
      return kValues[static_cast<uint8_t>(in[i])];
    };
    const uint32_t a = value(0);
    const uint32_t b = value(1);
    const uint32_t c = value(2);
    const uint32_t d = value(3);
    if (((a | b | c | d) & ~63u) != 0) return group;
    out[0] = static_cast<uint8_t>(a << 2 | b >> 4);
    out[1] = static_cast<uint8_t>(b << 4 | c >> 2);
    out[2] = static_cast<uint8_t>(c << 6 | d);
  }
  return groups;
}

}  // namespace

int32_t DecodeB64(uint8_t* out, const char* in, int32_t n) {
  if (out == nullptr || in == nullptr || n < 0) return kCodecBadArgument;
  const int32_t whole = DecodeWholeGroups(out, in, n / 4);
  int32_t total = 3 * whole;
  for (int32_t group = whole; group < n / 4; ++group) {
    const int32_t bytes = B64decode(out + total, in + group * 4);
    total += bytes;
    if (bytes < 3) break;
  }
  return total;
}

int32_t CodeB64(int32_t mode, void* out, const void* in, int32_t n) {
  if (out == nullptr) {
    if (n < 0) return kCodecBadArgument;
    return mode != kDecode ? Base64Length(n) + 1 : n / 4 * 3;
  }
  return mode != kDecode ? EncodeB64(static_cast<char*>(out),
                                     static_cast<const uint8_t*>(in), n)
                         : DecodeB64(static_cast<uint8_t*>(out),
                                     static_cast<const char*>(in), n);
}
