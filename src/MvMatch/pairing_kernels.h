// The one loop of pairing that wide registers pay for.
#ifndef SRC_MVMATCH_PAIRING_KERNELS_H_
#define SRC_MVMATCH_PAIRING_KERNELS_H_

#include <cstdint>

#include "MvMatch/pairing.h"

namespace corvex {

// What a narrow band gives at most: its words, for sticks and reversed sticks.
constexpr int32_t kHitsPerPair = 2 * kNarrowWords;

// Appends the hits of the second print's pairs from `begin` up to `end`. The
// bands are narrow; `hits` has room for kHitsPerPair a pair. All kernels
// append the same hits in the same order.
using CollectNarrowFn = void (*)(const FirstPrint& first,
                                 const SecondPrint& second, int32_t begin,
                                 int32_t end, Hits* hits);

void CollectNarrowPortable(const FirstPrint& first, const SecondPrint& second,
                           int32_t begin, int32_t end, Hits* hits);

// The fastest kernel that this processor runs.
CollectNarrowFn CollectNarrowKernel();

#if defined(__x86_64__)
void CollectNarrowAvx2(const FirstPrint& first, const SecondPrint& second,
                       int32_t begin, int32_t end, Hits* hits);
void CollectNarrowAvx512(const FirstPrint& first, const SecondPrint& second,
                         int32_t begin, int32_t end, Hits* hits);
#endif

// The packed candidate, without a score, of a row's bit.
constexpr uint32_t PlaceOf(int32_t bit, bool reversed, int32_t pair) {
  return static_cast<uint32_t>((2 * bit + (reversed ? 1 : 0))
                                   << kFirstStickShift |
                               pair << kSecondStickShift);
}

inline uint64_t LoadWord(const uint8_t* from) {
  uint64_t word;
  std::memcpy(&word, from, sizeof word);
  return word;
}

// Written always, counted only when it holds a bit: no branch to guess.
inline void AppendHit(uint64_t word, uint32_t place, Hits* hits) {
  hits->word[hits->count] = word;
  hits->place[hits->count] = place;
  hits->count += word != 0 ? 1 : 0;
}

// The rows that answer for one stick of the second print.
struct RowPair {
  const uint8_t* from;  // of its kFromAngle
  const uint8_t* to;    // opposite its kToAngle
};

inline RowPair RowsOf(const FirstPrint& first, const StickTraits& stick) {
  const uint8_t* const rows = first.rows.Data();
  return {rows + stick[kFromAngle] * first.row_bytes,
          rows + OppositeOf(stick[kToAngle]) * first.row_bytes};
}

}  // namespace corvex

#endif  // SRC_MVMATCH_PAIRING_KERNELS_H_
