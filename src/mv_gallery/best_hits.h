// The best hits of a search, collected one by one.
#ifndef SRC_MV_GALLERY_BEST_HITS_H_
#define SRC_MV_GALLERY_BEST_HITS_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "mv_match.h"

namespace corvex {

// Keeps the best `limit` ids, each with its best record. May throw bad_alloc.
class BestHits {
 public:
  explicit BestHits(size_t limit) : limit_(limit) {}

  void Add(const mv_hit& hit) {
    if (hit.score < least_score_) return;
    hits_.push_back(hit);
    if (hits_.size() / 2 >= limit_ && hits_.size() >= kFewHits) Prune();
  }
  void Add(const BestHits& other) {
    for (const mv_hit& hit : other.hits_) Add(hit);
  }

  // In the order of the result.
  const std::vector<mv_hit>& Sorted() {
    Prune();
    return hits_;
  }

 private:
  // So that a search for a single hit does not prune at every second one.
  static constexpr size_t kFewHits = 1024;

  void Prune();

  const size_t limit_;
  int32_t least_score_ = 0;  // what a further hit needs to matter
  std::vector<mv_hit> hits_;
};

}  // namespace corvex

#endif  // SRC_MV_GALLERY_BEST_HITS_H_
