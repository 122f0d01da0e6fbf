// Eight 16-bit numbers at once. These are the compilers' own vector types, so
// that one source serves every processor; nothing here depends on its size.
#ifndef SRC_MVMATCH_LANES_H_
#define SRC_MVMATCH_LANES_H_

#include <cstdint>
#include <cstring>

namespace corvex {

constexpr int32_t kLanes = 8;

using Lanes = int16_t __attribute__((vector_size(16)));

using UnsignedLanes = uint16_t __attribute__((vector_size(16)));

inline Lanes LoadLanes(const void* from) {
  Lanes lanes;
  std::memcpy(&lanes, from, sizeof lanes);
  return lanes;
}

template <typename V>
void StoreLanes(void* to, V lanes) {
  std::memcpy(to, &lanes, sizeof lanes);
}

inline Lanes Splat(int32_t n) {
  const auto s = static_cast<int16_t>(n);
  return Lanes{s, s, s, s, s, s, s, s};
}

inline Lanes Min(Lanes a, Lanes b) { return a < b ? a : b; }
inline Lanes Max(Lanes a, Lanes b) { return a > b ? a : b; }

// All ones where negative.
inline Lanes Sign(Lanes a) { return a >> 15; }
inline Lanes NegateWhere(Lanes mask, Lanes a) { return (a ^ mask) - mask; }
inline Lanes Abs(Lanes a) { return NegateWhere(Sign(a), a); }

// Brings an angle of more than -360 degrees to 0 or more.
inline Lanes Lift(Lanes degrees) {
  return degrees + (Sign(degrees) & Splat(360));
}

// Row k becomes lane k of every row.
inline void Transpose(Lanes row[kLanes]) {
  const auto low = [](Lanes a, Lanes b) {
    return __builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11);
  };
  const auto high = [](Lanes a, Lanes b) {
    return __builtin_shufflevector(a, b, 4, 12, 5, 13, 6, 14, 7, 15);
  };
  // Three perfect shuffles of the 64 numbers exchange the index halves.
  for (int32_t round = 0; round < 3; ++round) {
    Lanes next[kLanes];
    for (int32_t k = 0; k < kLanes / 2; ++k) {
      next[2 * k] = low(row[k], row[k + 4]);
      next[2 * k + 1] = high(row[k], row[k + 4]);
    }
    std::memcpy(row, next, sizeof next);
  }
}

}  // namespace corvex

#endif  // SRC_MVMATCH_LANES_H_
