#include "mv_gallery/best_hits.h"

#include <algorithm>
#include <tuple>

namespace corvex {
namespace {

// An id's best record first, of equal ones that of the lowest finger.
bool ByIdThenScore(const mv_hit& a, const mv_hit& b) {
  return std::tie(a.id, b.score, a.finger) < std::tie(b.id, a.score, b.finger);
}

bool ByScoreThenId(const mv_hit& a, const mv_hit& b) {
  return std::tie(b.score, a.id) < std::tie(a.score, b.id);
}

bool SameId(const mv_hit& a, const mv_hit& b) { return a.id == b.id; }

}  // namespace

void BestHits::Prune() {
  std::sort(hits_.begin(), hits_.end(), ByIdThenScore);
  hits_.erase(std::unique(hits_.begin(), hits_.end(), SameId), hits_.end());
  std::sort(hits_.begin(), hits_.end(), ByScoreThenId);
  if (hits_.size() < limit_) return;
  hits_.resize(limit_);
  least_score_ = hits_.back().score;
}

}  // namespace corvex
