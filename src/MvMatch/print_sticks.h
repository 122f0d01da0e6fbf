// The sticks of one print, in the layout that pairing reads.
#ifndef SRC_MVMATCH_PRINT_STICKS_H_
#define SRC_MVMATCH_PRINT_STICKS_H_

#include <cstdint>

#include "MvMatch/lanes.h"
#include "MvMatch/limits.h"
#include "MvMatch/minutiae_record.h"
#include "MvMatch/segment_table.h"

namespace corvex {

// What pairing compares: one lane each, subtracted all at once. What belongs to
// the two ends lies side by side, so that exchanging them is cheap. Angles are
// in degrees; 360 may stand for 0, as only differences modulo 360 count.
struct alignas(16) StickTraits {
  int16_t first_angle;       // against the first minutia's direction
  int16_t second_angle;      // against the second minutia's direction
  int16_t first_direction;   // of the first minutia
  int16_t second_direction;  // of the second minutia
  int16_t direction;         // of the stick
  int16_t length_code;       // cells less kMinStickCells; kNoStick: no stick
  int16_t first_mark;        // weight, and kKindMark for kind 2
  int16_t second_mark;
};
static_assert(sizeof(StickTraits) == sizeof(Lanes), "one lane a trait");

constexpr int32_t kKindMark = 256;
// A mark that differs from every minutia's by more than weights may.
constexpr int32_t kNeverMark = 160;
static_assert(kNeverMark - kMaxWeight >= kFullWeightFactor, "pairs with none");

struct StickEnds {
  uint8_t first;  // minutia index
  uint8_t second;
};

// Every pair of minutiae i < j, sticks or not, i ascending, then j ascending.
// Vector stores run up to seven elements past the last pair.
struct MinutiaPairs {
  StickTraits traits[kMaxMinutiaPairs + kLanes];
  StickEnds ends[kMaxMinutiaPairs + kLanes];
};

constexpr int32_t OppositeOf(int32_t degrees) {
  return degrees >= kHalfTurnDegrees ? degrees - kHalfTurnDegrees
                                     : degrees + kHalfTurnDegrees;
}

// Fills `pairs`; a pair whose length is out of the band, or that comes after
// the first `room` of its length, is no stick. Returns the number of pairs.
int32_t FindSticks(const MinutiaeVector& minutiae, int32_t room,
                   MinutiaPairs* pairs);

// The second print: one order of each pair.
struct SecondPrint {
  MinutiaeVector minutiae;
  int32_t pair_count;
  MinutiaPairs pairs;
};

void LoadSecond(const MinutiaeVector& minutiae, SecondPrint* print);

bool SameVector(const MinutiaeVector& a, const MinutiaeVector& b);

}  // namespace corvex

#endif  // SRC_MVMATCH_PRINT_STICKS_H_
