// Length and direction of the segment between two minutiae, looked up.
#ifndef SRC_MVMATCH_SEGMENT_TABLE_H_
#define SRC_MVMATCH_SEGMENT_TABLE_H_

#include <cstdint>

#include "MvMatch/limits.h"

namespace corvex {

// Length code of a segment that is no stick: one past the last length code.
constexpr int16_t kNoStick = kStickLengths;

// A segment in 16 bits: the length code below, the steepness (degrees, 0-90, of
// the direction's acute angle) above.
constexpr int32_t kSteepnessShift = 8;

// By the sizes of both differences, as coordinates lie in 0-255.
struct SegmentTable {
  int16_t packed[256 * 256];
  // place: |dx| << 8 | |dy|
  int16_t Packed(uint16_t place) const { return packed[place]; }
};

// Made at the first call: one arc tangent for each segment that is a stick.
const SegmentTable& Segments();

}  // namespace corvex

#endif  // SRC_MVMATCH_SEGMENT_TABLE_H_
