// The comparison as docs/matcher.md shows it, step by step and as plainly as it
// can be written, its numbers included: a slip in those of MvMatch/limits.h
// shows. Speed is no aim here.
#ifndef TESTS_REFERENCE_PLAIN_MATCHER_H_
#define TESTS_REFERENCE_PLAIN_MATCHER_H_

#include <cstdint>
#include <vector>

#include "MvMatch/minutiae_record.h"

namespace corvex::plain {

using Print = std::vector<Minutia>;

// A segment between two minutiae of one print. Angles are in degrees; 360 may
// stand for 0.
struct Stick {
  const Minutia* from;
  const Minutia* to;
  int32_t from_angle;  // its direction against that of `from`
  int32_t to_angle;    // its direction against that of `to`
  int32_t direction;
  int32_t length;  // cells
};

// How often each limit was met, so that a test can tell whether it tests them.
struct LimitsMet {
  int64_t full_lengths = 0;
  int64_t full_candidates = 0;
  int64_t full_kept = 0;
};

// The sticks in ascending order of length, within one length as they are
// found; each in one direction only or in both.
std::vector<Stick> GetBeteenStick(const Print& print, bool one_direction,
                                  LimitsMet* met);

// -110 or the score, 0-100.
int32_t MivoMatchFinger(const uint8_t* first_record,
                        const uint8_t* second_record, LimitsMet* met);

}  // namespace corvex::plain

#endif  // TESTS_REFERENCE_PLAIN_MATCHER_H_
