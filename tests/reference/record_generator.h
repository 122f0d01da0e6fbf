// Records made up from a seed: the same ones on every machine.
#ifndef TESTS_REFERENCE_RECORD_GENERATOR_H_
#define TESTS_REFERENCE_RECORD_GENERATOR_H_

#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace reference {

using Record = std::vector<uint8_t>;
using RecordPair = std::pair<Record, Record>;

class RecordGenerator {
 public:
  explicit RecordGenerator(uint32_t seed) : random_(seed) {}

  // A pair of one of many kinds: strangers, two presses of one finger, prints
  // with few directions or lengths, lattices, bounds of weight and kind ...
  RecordPair NextPair();

  // A finger of about 31 minutiae within 150 x 180 cells, as readers give it.
  Record NextFinger();

  // Another press of the finger: turned, moved, distorted, with minutiae
  // missing and others added.
  Record Pressed(const Record& finger);

 private:
  struct Entry {
    int32_t x, y, direction, weight, kind;
  };
  using Entries = std::vector<Entry>;

  int32_t Below(int32_t limit);
  bool OneIn(int32_t n) { return Below(n) == 0; }
  Entry AnyEntry();
  Entries AnyEntries();
  Entries Lattice();
  Entries Line();
  void Restrict(Entries* entries);
  Entries PressedEntries(const Entries& entries, int32_t max_turn,
                         int32_t max_jitter);
  static Record ToRecord(const Entries& entries);
  static Entries FromRecord(const Record& record);

  std::mt19937 random_;
};

}  // namespace reference

#endif  // TESTS_REFERENCE_RECORD_GENERATOR_H_
