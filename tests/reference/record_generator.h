// Prints made up from a seed: the same ones on every machine.
#ifndef TESTS_REFERENCE_RECORD_GENERATOR_H_
#define TESTS_REFERENCE_RECORD_GENERATOR_H_

#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace reference {

struct Entry {
  int32_t x, y, direction, weight, kind;
};
using Print = std::vector<Entry>;
using Record = std::vector<uint8_t>;

Record ToRecord(const Print& print);

class RecordGenerator {
 public:
  explicit RecordGenerator(uint32_t seed) : random_(seed) {}

  // A pair of one of many kinds: strangers, two presses of one finger, prints
  // with few directions or lengths, lattices; or the last pair with one field
  // changed, as caches may take one for the other.
  std::pair<Record, Record> NextPair();

  // Another press of a finger: turned, moved, distorted, with minutiae missing
  // and others added.
  Print Pressed(const Print& print, int32_t max_turn, int32_t max_jitter);

 private:
  int32_t Below(int32_t limit);
  int32_t Around(int32_t most);
  bool OneIn(int32_t n) { return Below(n) == 0; }
  Entry AnyEntry();
  Print AnyPrint();
  Print Lattice();
  void Restrict(Print* print);
  void MakePair();

  std::mt19937 random_;
  Print first_;
  Print second_;
};

}  // namespace reference

#endif  // TESTS_REFERENCE_RECORD_GENERATOR_H_
