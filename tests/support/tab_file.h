// Tables of test data: tab-separated fields, records as hex digits.
#ifndef TESTS_SUPPORT_TAB_FILE_H_
#define TESTS_SUPPORT_TAB_FILE_H_

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace support {

using Fields = std::vector<std::string>;
using Bytes = std::vector<uint8_t>;

Fields Split(const std::string& text, char separator);

// One entry a line; empty when the file cannot be read.
std::vector<Fields> ReadTabFile(const std::string& path);

// The same of a file in tests/data.
std::vector<Fields> ReadTestData(const std::string& name);

// The bytes of hex digits, padded with zeros to `least_bytes`.
inline Bytes FromHex(const std::string& hex, size_t least_bytes = 0) {
  Bytes bytes(std::max(hex.size() / 2, least_bytes));
  for (size_t i = 0; i < hex.size() / 2; ++i) {
    bytes[i] =
        static_cast<uint8_t>(std::stoi(hex.substr(2 * i, 2), nullptr, 16));
  }
  return bytes;
}

// Upper-case hex digits, two a byte.
inline std::string ToHex(const uint8_t* bytes, size_t count) {
  std::string hex;
  for (size_t i = 0; i < count; ++i) {
    hex += "0123456789ABCDEF"[bytes[i] >> 4];
    hex += "0123456789ABCDEF"[bytes[i] & 15];
  }
  return hex;
}

}  // namespace support

#endif  // TESTS_SUPPORT_TAB_FILE_H_
