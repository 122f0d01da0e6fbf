// The first print's sticks, indexed so that the sticks that may pair with a
// given one are found by two table rows.
//
// A row is a set of segments, one bit each, in ascending order of length, in
// words by turns: the row of angle t holds, of each 64 segments, first those
// whose stick has kFromAngle near t, then those that have kToAngle near t. Near
// is within 12 degrees, or exactly opposite.
//
// Reversing a stick exchanges its two angles. So for a stick of the second
// print with angles t and u, rows t and u answer both questions:
//   sticks near in both angles     = from words of t & to words of u
//   reversed sticks near in both   = to words of t & from words of u
#ifndef SRC_MVMATCH_FIRST_PRINT_H_
#define SRC_MVMATCH_FIRST_PRINT_H_

#include <cstdint>

#include "MvMatch/limits.h"
#include "MvMatch/print_sticks.h"

namespace corvex {

constexpr int32_t kWordSegments = 64;
constexpr int32_t kWordBytes = 16;    // a from word and a to word
constexpr int32_t kColumnBytes = 64;  // rows are whole columns
constexpr int32_t kColumnSegments = kColumnBytes / kWordBytes * kWordSegments;

constexpr int32_t RowBytes(int32_t segments) {
  return (segments + kColumnSegments - 1) / kColumnSegments * kColumnBytes;
}
constexpr int32_t kMaxRowBytes = RowBytes(kMaxMinutiaPairs);
constexpr int32_t kRows = kFullTurnDegrees;

// Segments whose length differs from a given one by 14 at most: a range of
// bits, as they are in order of length. By length code; kNoStick's is empty.
struct Bands {
  uint32_t at[kNoStick + 1];     // bytes of a row before its first word
  uint32_t begin[kNoStick + 1];  // bits, from that word on
  uint32_t end[kNoStick + 1];
};

// Bytes from a multiple of a cache line on, wherever their owner is: wide
// registers are slow across the border of two lines.
template <int32_t kBytes>
class CacheAligned {
 public:
  uint8_t* Data() { return room_ + Gap(); }
  const uint8_t* Data() const { return room_ + Gap(); }

 private:
  static constexpr uintptr_t kLine = 64;

  uintptr_t Gap() const { return -reinterpret_cast<uintptr_t>(room_) % kLine; }

  uint8_t room_[kBytes + kLine - 1];
};

struct FirstPrint {
  MinutiaeVector minutiae;
  int32_t segment_count;
  int32_t row_bytes;
  Bands bands;

  // Segment k's stick is 2 k, its reversed stick 2 k + 1: the table's order.
  StickTraits traits[2 * kMaxMinutiaPairs];
  StickEnds ends[2 * kMaxMinutiaPairs];

  // Whole columns are read from a band's first word on: some beyond the end.
  CacheAligned<kRows * kMaxRowBytes + kColumnBytes> rows;
};

// One column of the rows, for each angle of the circle and of what a window
// reaches beyond it.
struct RowScratch {
  static constexpr int32_t kAngles =
      kFullTurnDegrees + 2 * kMaxAngleDifferenceDegrees + 1;
  CacheAligned<kAngles * kColumnBytes> angle;
};

// Room for work that is of no use afterwards.
struct FirstPrintScratch {
  union {  // the sticks are placed before any row is made
    MinutiaPairs pairs;
    RowScratch rows;
  };
};

void LoadFirst(const MinutiaeVector& minutiae, FirstPrintScratch* scratch,
               FirstPrint* print);

}  // namespace corvex

#endif  // SRC_MVMATCH_FIRST_PRINT_H_
