#include "real_fingers.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace bench {
namespace {

using reference::Record;
using Records = std::vector<Record>;

uint8_t HexDigit(char c) {
  return static_cast<uint8_t>(c <= '9' ? c - '0' : c - 'a' + 10);
}

// The last field of each line is a record in hex digits.
Records ReadFingers(const std::string& path) {
  Records records;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    Record record;
    for (size_t i = line.rfind('\t') + 1; i + 1 < line.size(); i += 2) {
      record.push_back(
          static_cast<uint8_t>(HexDigit(line[i]) << 4 | HexDigit(line[i + 1])));
    }
    records.push_back(record);
  }
  return records;
}

Records MakeFingers() {
  Records records;
  reference::RecordGenerator generator(1);
  for (int32_t finger = 0; finger < 40; ++finger) {
    const Record record = generator.NextFinger();
    for (int32_t i = 0; i < 8; ++i)
      records.push_back(generator.Pressed(record));
  }
  return records;
}

}  // namespace

const Records& Fingers() {
  static const Records fingers = [] {
    const char* const other = std::getenv("MV_REAL_DATA_DIR");
    const std::string directory = other != nullptr ? other : MV_REAL_DATA_DIR;
    const Records real = ReadFingers(directory + "/fvc_fingers.tsv");
    std::fprintf(stderr, "%s\n",
                 real.empty() ? "fingers: made up" : "fingers: real ones");
    return real.empty() ? MakeFingers() : real;
  }();
  return fingers;
}

}  // namespace bench
