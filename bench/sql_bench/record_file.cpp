// Records for the benchmarks of the databases, and the bare library on them:
//
//   record_file make COUNT     prints COUNT rows of `fingers` for COPY
//   record_file search FILE    compares the first record with all of such a
//                              file, once for each line of its input; prints
//                              the number of hits and the seconds of processor
#include <mv_match.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kThreshold = 36;

struct Minutia {
  int x, y, direction, weight;
};
using Print = std::vector<Minutia>;
using Random = std::mt19937;

int Draw(Random* random, int low, int high) {
  return low +
         static_cast<int>((*random)() % static_cast<unsigned>(high - low + 1));
}

// As many minutiae as real captures have, with directions that follow a flow.
Print MakePrint(Random* random) {
  Print print(static_cast<size_t>(Draw(random, 22, 40)));
  const int flow = Draw(random, 0, 359);
  for (Minutia& m : print) {
    m.x = Draw(random, 20, 235);
    m.y = Draw(random, 20, 235);
    m.direction = (flow + m.x / 2 + Draw(random, 0, 1) * 180 +
                   Draw(random, -20, 20) + 360) %
                  360;
    m.weight = Draw(random, 40, 100);
  }
  return print;
}

// Another press of the same finger.
Print PressAgain(Print print, Random* random) {
  print.resize(print.size() - 3);
  for (Minutia& m : print) {
    m.x += Draw(random, -2, 2);
    m.y += Draw(random, -2, 2);
    m.direction = (m.direction + Draw(random, -4, 4) + 360) % 360;
  }
  return print;
}

std::string ToHex(const Print& print) {
  std::string hex = "1200";
  const auto append = [&hex](int byte) {
    constexpr char kDigits[] = "0123456789abcdef";
    hex += {kDigits[byte >> 4 & 15], kDigits[byte & 15]};
  };
  append(static_cast<int>(print.size()));
  for (const Minutia& m : print) {
    const int word = m.direction | m.weight << 9;
    for (const int byte : {m.x, m.y, word & 0xFF, word >> 8, 0}) append(byte);
  }
  return hex;
}

// Every 20,000th finger, and thus the first of a search, is the first one.
void Make(int count) {
  Random random(1);
  const Print first = MakePrint(&random);
  for (int number = 1; number <= count; ++number) {
    const Print print =
        number % 20000 == 1 ? PressAgain(first, &random) : MakePrint(&random);
    std::printf("%d\tperson%d\tright index\t\\\\x%s\t2024-05-01T08:00:00Z\n",
                number, number, ToHex(print).c_str());
  }
}

struct Record {
  std::array<uint8_t, MV_RECORD_BYTES> bytes;
  size_t length;
};

std::vector<Record> ReadRecords(const char* path) {
  std::vector<Record> records;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const size_t begin = line.find("\\\\x") + 3;
    const size_t end = line.find('\t', begin);
    Record record = {};
    record.length = (end - begin) / 2;
    for (size_t i = 0; i < record.length; ++i) {
      record.bytes[i] = static_cast<uint8_t>(
          std::stoi(line.substr(begin + 2 * i, 2), nullptr, 16));
    }
    records.push_back(record);
  }
  return records;
}

void Search(const std::vector<Record>& records) {
  const Record& probe = records.front();
  for (std::string line; std::getline(std::cin, line);) {
    const clock_t begin = clock();
    const auto hits = std::count_if(
        records.begin(), records.end(), [&probe](const Record& record) {
          return mv_compare(probe.bytes.data(), probe.length,
                            record.bytes.data(), record.length) > kThreshold;
        });
    std::cout << hits << ' '
              << static_cast<double>(clock() - begin) / CLOCKS_PER_SEC
              << std::endl;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string task = argc == 3 ? argv[1] : "";
  const int count = task == "make" ? std::atoi(argv[2]) : 0;
  const auto records =
      task == "search" ? ReadRecords(argv[2]) : std::vector<Record>();
  if (count > 0) {
    Make(count);
  } else if (!records.empty()) {
    Search(records);
  } else {
    std::fputs("usage: record_file make COUNT | search FILE\n", stderr);
    return 2;
  }
  return 0;
}
