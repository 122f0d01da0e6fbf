// The sticks of one print, in the layout that pairing reads.
#ifndef SRC_MVMATCH_PRINT_STICKS_H_
#define SRC_MVMATCH_PRINT_STICKS_H_

#include <cstdint>

#include "MvMatch/lanes.h"
#include "MvMatch/limits.h"
#include "MvMatch/minutiae_record.h"
#include "MvMatch/segment_table.h"

namespace corvex {

// What pairing compares of a stick: one lane each, subtracted all at once. What
// belongs to the two ends lies side by side, so that exchanging them is cheap.
// Angles are in degrees, 0-359.
enum Trait : int32_t {
  kFromAngle,      // the stick's direction against the first minutia's
  kToAngle,        // the reversed stick's against the second minutia's
  kFromDirection,  // the first minutia's
  kToDirection,    // the second minutia's
  kDirection,      // the stick's
  kLengthCode,     // cells less kMinStickCells; kNoStick: no stick
  kFromMark,       // the first minutia's weight, and kKindMark for kind 2
  kToMark,
  kTraits
};
static_assert(kTraits == kLanes, "one lane a trait");

struct alignas(16) StickTraits {
  int16_t lane[kTraits];

  int16_t& operator[](Trait trait) { return lane[trait]; }
  int16_t operator[](Trait trait) const { return lane[trait]; }
};

constexpr int32_t kKindMark = 256;
// A mark that differs from every minutia's by more than weights may.
constexpr int32_t kNeverMark = 160;
static_assert(kNeverMark - kMaxWeight >= kFullWeightFactor, "pairs with none");

struct StickEnds {
  uint8_t from;  // minutia index
  uint8_t to;
};

// By length code, kNoStick included, in whole vectors.
constexpr int32_t kLengthCodes = (kNoStick + kLanes) / kLanes * kLanes;

// Every pair of minutiae i < j, sticks or not, i ascending, then j ascending.
// Vector stores run up to seven elements past the last pair.
struct MinutiaPairs {
  StickTraits traits[kMaxMinutiaPairs + kLanes];
  StickEnds ends[kMaxMinutiaPairs + kLanes];
  int16_t of_length[kLengthCodes];  // how many sticks have each length code
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
