#include "support/tab_file.h"

#include <algorithm>
#include <fstream>

namespace support {

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (size_t end = 0; end != std::string::npos; start = end + 1) {
    end = text.find(separator, start);
    parts.push_back(text.substr(start, end - start));
  }
  return parts;
}

std::vector<Fields> ReadTabFile(const std::string& path) {
  std::vector<Fields> lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    lines.push_back(Split(line, '\t'));
  }
  return lines;
}

std::vector<Fields> ReadTestData(const std::string& name) {
  return ReadTabFile(MV_TEST_DATA + name);
}

Bytes FromHex(const std::string& hex, size_t least_bytes) {
  Bytes bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(
        static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  }
  bytes.resize(std::max(bytes.size(), least_bytes));
  return bytes;
}

std::string ToHex(const uint8_t* bytes, size_t count) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string hex;
  for (size_t i = 0; i < count; ++i) {
    hex += kDigits[bytes[i] >> 4];
    hex += kDigits[bytes[i] & 15];
  }
  return hex;
}

}  // namespace support
