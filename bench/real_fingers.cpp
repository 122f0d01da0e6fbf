#include "real_fingers.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
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

// About 31 minutiae within 150 x 180 cells, as readers give them; ridges run
// much alike in one finger.
reference::Print MakeFinger(std::mt19937* random) {
  const auto below = [random](uint32_t limit) {
    return static_cast<int32_t>((*random)() % limit);
  };
  reference::Print print;
  const int32_t count = 20 + below(23);
  for (int32_t i = 0; i < count; ++i) {
    const int32_t direction = (below(90) + 45 + 180 * below(2)) % 360;
    print.push_back({53 + below(150), 38 + below(180), direction,
                     30 + below(40), 1 + below(2)});
  }
  return print;
}

Records MakeFingers() {
  Records records;
  std::mt19937 random(1);
  reference::RecordGenerator generator(1);
  for (int32_t finger = 0; finger < 40; ++finger) {
    const reference::Print print = MakeFinger(&random);
    for (int32_t i = 0; i < 8; ++i) {
      records.push_back(ToRecord(generator.Pressed(print, 20, 2)));
    }
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
