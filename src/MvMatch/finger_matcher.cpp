#include "MvMatch/finger_matcher.h"

#include <algorithm>

namespace corvex {

int32_t FingerMatcher::Compare(const WorkingForm& first,
                               const WorkingForm& second) {
  if (first.format_tag != kFormatTag || second.format_tag != kFormatTag) {
    return 0;
  }
  LoadFirst(first.minutiae, &scratch_, &first_);
  if (first_.segment_count == 0) return 0;
  LoadSecond(second.minutiae, &second_);
  Candidates& candidates = work_.candidates;
  PairSticks(first_, second_, &work_.pairing, &candidates);
  if (candidates.count == 0) return 0;
  Turn(second_, work_.pairing.rotation_votes, &alignment_, &candidates);
  if (candidates.count == 0) return 0;
  // The order of the candidates matters only where a limit cuts the list.
  if (candidates.count > kMaxKept) KeepFirst(kMaxKept, second_, &candidates);
  Move(first_, second_, &alignment_, &candidates);
  const int32_t total = SumGroups(candidates, &work_.forest, &group_sticks_);
  return std::min(total / kTotalPerPoint, kMaxScore);
}

}  // namespace corvex
