#include "virtual_reader/bytes.h"

#include <zlib.h>

#include <charconv>
#include <iterator>
#include <sstream>

namespace corvex::vreader {

std::string ToHex(const Bytes& bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const uint8_t byte : bytes) {
    text += kDigits[byte / 16];
    text += kDigits[byte % 16];
  }
  return text;
}

std::optional<Bytes> FromHex(std::string_view text) {
  if (text.size() % 2 != 0) return std::nullopt;
  Bytes bytes(text.size() / 2);
  const char* digits = text.data();
  for (uint8_t& byte : bytes) {
    const char* const end = digits + 2;
    if (std::from_chars(digits, end, byte, 16).ptr != end) return std::nullopt;
    digits = end;
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

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in{std::string(text)};
  for (std::string part; std::getline(in, part, separator);) {
    parts.push_back(part);
  }
  return parts;
}

std::vector<std::string> SplitWords(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), {}};
}

std::optional<uint32_t> ParseNumber(std::string_view text) {
  const bool hex = text.substr(0, 2) == "0x";
  if (hex) text.remove_prefix(2);
  const char* const end = text.data() + text.size();
  uint32_t value = 0;
  const auto read = std::from_chars(text.data(), end, value, hex ? 16 : 10);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return value;
}

}  // namespace corvex::vreader
