// How well the records of a gallery are told apart: every pair of records of
// different ids is a stranger's trial, every pair of one finger's a genuine
// one. Nothing but numbers comes out.
#ifndef APPS_MVFP_GALLERY_CALIBRATION_H_
#define APPS_MVFP_GALLERY_CALIBRATION_H_

#include <mv_match.h>

#include <array>
#include <cstdint>
#include <vector>

#include "gallery/gallery_file.h"

namespace corvex::mvfp {

// How often each score came.
class Scores {
 public:
  void Add(int score) { ++times_[static_cast<size_t>(score)]; }
  void Add(const Scores& other);

  uint64_t Count() const { return NotAbove(MV_SCORE_MAX); }
  uint64_t NotAbove(int score) const;
  uint64_t Above(int score) const { return Count() - NotAbove(score); }
  const std::array<uint64_t, MV_SCORE_MAX + 1>& Times() const { return times_; }

 private:
  std::array<uint64_t, MV_SCORE_MAX + 1> times_{};
};

struct Calibration {
  Scores strangers;  // every pair of records of different ids
  Scores ids;        // every pair of ids: the highest of their pairs' scores
  Scores genuine;    // every pair of records of one finger
  Scores fingers;    // every finger of two records: the lowest of them
};

// The records in the gallery's order, of which the later one of a pair is the
// probe. On every processor.
Calibration Calibrate(const std::vector<GalleryEntry>& entries);

// With its Wilson bounds of 95 %; all of it without a trial is no number.
struct Rate {
  double rate, low, high;
};
Rate RateOf(uint64_t errors, uint64_t trials);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_GALLERY_CALIBRATION_H_
