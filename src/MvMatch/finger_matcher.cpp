#include "MvMatch/finger_matcher.h"

#include <algorithm>

namespace corvex {
namespace {

// Whether the candidates may still add up to the score: a group never adds
// more than all its members' scores.
bool MayReach(int32_t score, const Candidates& candidates) {
  if (score <= 0) return true;
  int32_t total = 0;
  for (int32_t i = 0; i < candidates.count; ++i) {
    total += static_cast<int32_t>(ScoreOf(candidates.packed[i]));
  }
  return total >= score * kTotalPerPoint;
}

}  // namespace

int32_t FingerMatcher::Compare(const WorkingForm& first,
                               const WorkingForm& second, int32_t least) {
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
  if (!MayReach(least, candidates)) return 0;
  Move(first_, second_, &alignment_, &candidates);
  const int32_t total = SumGroups(candidates, &work_.forest, &group_sticks_);
  return std::min(total / kTotalPerPoint, kMaxScore);
}

}  // namespace corvex
