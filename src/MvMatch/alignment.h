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

struct AlignmentSpace {
  Points first;
  Points second;
  OffsetVotes x_votes;
  OffsetVotes y_votes;
  int16_t tolerance[kPoints];
  uint8_t near[kPoints][kPoints];  // [second minutia][first minutia]
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
