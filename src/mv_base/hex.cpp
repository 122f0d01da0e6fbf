#include "mv_base/hex.h"

char _GetHex(uint32_t value) {
  return value < 16 ? "0123456789ABCDEF"[value] : '0';
}

uint8_t _GetBin(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<uint8_t>(digit - '0');
  if (digit >= 'A' && digit <= 'F') {
    return static_cast<uint8_t>(digit - 'A' + 10);
  }
  if (digit >= 'a' && digit <= 'f') {
    return static_cast<uint8_t>(digit - 'a' + 10);
  }
  return 0;
}

void Bin2Hex(char* out, const uint8_t* in, int32_t n) {
  for (int32_t i = 0; i < n; ++i) {
    *out++ = _GetHex(in[i] >> 4);
    *out++ = _GetHex(in[i] & 15);
  }
}

void Hex2Bin(uint8_t* out, const char* in, int32_t n) {
  for (int32_t i = 0; i + 1 < n; i += 2) {
    *out++ = static_cast<uint8_t>(_GetBin(in[i]) * 16 + _GetBin(in[i + 1]));
  }
}
