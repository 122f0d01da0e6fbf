// Repeatable chance: the same seed gives the same draws on every machine.
#ifndef APPS_VIRTUAL_READER_RANDOM_H_
#define APPS_VIRTUAL_READER_RANDOM_H_

#include <cstdint>

namespace corvex::vreader {

// The splitmix64 sequence. Not <random>: its distributions differ between
// standard libraries.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}

  uint64_t Next() {
    state_ += 0x9E3779B97F4A7C15u;
    uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }
  // Both ends included.
  int Between(int least, int most) {
    const int span = most - least + 1;
    return least + static_cast<int>(Next() % static_cast<uint64_t>(span));
  }
  // Around 0, with small values more likely than those near the spread.
  int Jitter(int spread) {
    // Not one expression: its two draws would come in either order.
    const int below = Between(-spread, 0);
    return below + Between(0, spread);
  }
  bool Chance(int percent) { return Between(1, 100) <= percent; }

 private:
  uint64_t state_;
};

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_RANDOM_H_
