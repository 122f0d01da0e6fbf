#include "support/tab_file.h"

#include <fstream>
#include <sstream>

namespace support {

Fields Split(const std::string& text, char separator) {
  Fields parts;
  std::istringstream rest(text);
  for (std::string part; std::getline(rest, part, separator);) {
    parts.push_back(part);
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

}  // namespace support
