// The second print turned and moved onto the first, and what then still fits.
#ifndef SRC_MVMATCH_ALIGNMENT_H_
#define SRC_MVMATCH_ALIGNMENT_H_

#include <cstdint>

#include "MvMatch/first_print.h"
#include "MvMatch/pairing.h"
#include "MvMatch/print_sticks.h"

namespace corvex {

// Whole vectors, and a power of two.
constexpr int32_t kPoints = 64;

// Minutiae by coordinate.
struct Points {
  int16_t x[kPoints];
  int16_t y[kPoints];
};

// The tail is read by whole vectors, and stays empty.
using OffsetVotes = int16_t[kOffsetBins + 2 * kLanes];

// Both coordinates of a point, or of the difference of two, in one number:
// 65536 y + x, modulo 2^32. Adding and subtracting do so with both at once.
using PackedPoint = uint32_t;

struct AlignmentSpace {
  Points first;
  Points second;
  OffsetVotes x_votes;
  OffsetVotes y_votes;
  PackedPoint first_at[kPoints];
  PackedPoint second_at[kPoints];
  int16_t tolerance[kPoints];  // of the second print's minutiae
  // By candidate: how far each end of the second stick is from the first's.
  PackedPoint from_offset[kMaxKept];
  PackedPoint to_offset[kMaxKept];
  uint16_t voters[kMaxKept + 1];  // candidates
};

// Turns the second print by the rotation that most candidates vote for, and
// drops the candidates that disagree with it.
void Turn(const SecondPrint& second, const uint32_t* rotation_votes,
          AlignmentSpace* space, Candidates* candidates);

// Moves the turned print by the offset that most candidates vote for, and
// drops the candidates whose ends do not come to lie near each other.
void Move(const FirstPrint& first, const SecondPrint& second,
          AlignmentSpace* space, Candidates* candidates);

}  // namespace corvex

#endif  // SRC_MVMATCH_ALIGNMENT_H_
