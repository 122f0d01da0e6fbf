// The first print's sticks, indexed so that the sticks that may pair with a
// given one are found by two table rows.
//
// A row is a set of segments, one bit each, in ascending order of length. The
// row of angle t holds, in its first half, the segments whose stick has its
// first relative angle near t; in its second half, those whose reversed stick
// has. Near is within 12 degrees, or exactly opposite.
//
// A reversed stick's relative angles are the stick's, exchanged and turned by
// half a turn. So for a stick of the second print with relative angles t and
// u, row t and the row opposite u answer both questions:
//   sticks near in both angles     = first half of t  & second half of u + 180
//   reversed sticks near in both   = second half of t & first half of u + 180
#ifndef SRC_MVMATCH_FIRST_PRINT_H_
#define SRC_MVMATCH_FIRST_PRINT_H_

#include <cstdint>

#include "MvMatch/limits.h"
#include "MvMatch/print_sticks.h"

namespace corvex {

constexpr int32_t kColumnBytes = 32;        // half rows are whole columns
constexpr int32_t kWidestColumnBytes = 64;  // as many as are made at once
constexpr int32_t kColumnBits = 8 * kColumnBytes;

// Bytes of half a row for so many segments.
constexpr int32_t HalfRowBytes(int32_t segments) {
  return (segments + kColumnBits - 1) / kColumnBits * kColumnBytes;
}
constexpr int32_t kMaxRowBytes = 2 * HalfRowBytes(kMaxMinutiaPairs);
constexpr int32_t kRows = kFullTurnDegrees + 1;  // 360 stands for 0

// Words of a row that a narrow band may touch.
constexpr int32_t kNarrowWords = 4;

// Segments whose length differs from a given one by 14 at most: a range of
// bits, as they are in order of length.
struct Band {
  uint16_t begin;
  uint16_t end;
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
  bool narrow;  // no band touches more than kNarrowWords, from its first byte

  // By length code; kNoStick has an empty band.
  Band band[kStickLengths + 1];
  // What a band keeps of the words from its first byte on, if narrow.
  uint64_t band_mask[kStickLengths + 1][kNarrowWords];

  // Segment k's stick is 2 k, its reversed stick 2 k + 1: the table's order.
  StickTraits traits[2 * kMaxMinutiaPairs];
  StickEnds ends[2 * kMaxMinutiaPairs];

  // Whole words are read from a band's first byte on: some beyond the end.
  CacheAligned<kRows * kMaxRowBytes + 8 * kNarrowWords> rows;
};

// One column of the rows, for each angle of the circle and of what a window
// reaches beyond it.
struct RowScratch {
  static constexpr int32_t kAngles =
      kFullTurnDegrees + 2 * kMaxAngleDifferenceDegrees + 1;
  CacheAligned<kAngles * kWidestColumnBytes> angle;
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
