#include "virtual_reader/bytes.h"

#include <zlib.h>

namespace corvex::vreader {
namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";

int DigitValue(char c) {
  if (c >= 'a' && c <= 'f') c = static_cast<char>(c - 'a' + 'A');
  const size_t at = kDigits.find(c);
  return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

}  // namespace

std::string ToHex(const Bytes& bytes) {
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const uint8_t byte : bytes) {
    text += kDigits[byte / 16];
    text += kDigits[byte % 16];
  }
  return text;
}

std::optional<Bytes> FromHex(std::string_view text) {
  if (text.size() % 2 != 0) return std::nullopt;
  Bytes bytes;
  for (size_t i = 0; i < text.size(); i += 2) {
    const int high = DigitValue(text[i]);
    const int low = DigitValue(text[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes.push_back(static_cast<uint8_t>(high * 16 + low));
  }
  return bytes;
}

Bytes LittleEndian(uint32_t value) {
  Bytes bytes;
  for (int i = 0; i < 4; ++i, value >>= 8) {
    bytes.push_back(static_cast<uint8_t>(value & 0xFF));
  }
  return bytes;
}

uint32_t FromLittleEndian(const Bytes& bytes, size_t offset) {
  uint32_t value = 0;
  for (size_t i = 4; i-- > 0;) value = value << 8 | bytes.at(offset + i);
  return value;
}

uint32_t CheckValue(const Bytes& bytes) {
  return static_cast<uint32_t>(
      crc32(0, bytes.data(), static_cast<uInt>(bytes.size())));
}

std::string Printable(std::string_view text) {
  std::string shown;
  for (const char c : text) {
    if (c >= ' ' && c <= '~') {
      shown += c;
    } else {
      shown += "\\x" + ToHex({static_cast<uint8_t>(c)});
    }
  }
  return shown;
}

}  // namespace corvex::vreader
