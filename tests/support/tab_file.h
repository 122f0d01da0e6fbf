// Tables of test data: tab-separated fields, records as hex digits.
#ifndef TESTS_SUPPORT_TAB_FILE_H_
#define TESTS_SUPPORT_TAB_FILE_H_

#include <cstdint>
#include <string>
#include <vector>

namespace support {

using Fields = std::vector<std::string>;
using Bytes = std::vector<uint8_t>;

std::vector<std::string> Split(const std::string& text, char separator);

// One entry a line; empty when the file cannot be read.
std::vector<Fields> ReadTabFile(const std::string& path);

// The same of a file in tests/data.
std::vector<Fields> ReadTestData(const std::string& name);

// The bytes of hex digits, padded with zeros to `least_bytes`.
Bytes FromHex(const std::string& hex, size_t least_bytes = 0);

// Upper-case hex digits, two a byte.
std::string ToHex(const uint8_t* bytes, size_t count);

}  // namespace support

#endif  // TESTS_SUPPORT_TAB_FILE_H_
