// The comparison method, step by step as it is defined and as plainly as it
// can be written. Speed is no aim here.
#ifndef TESTS_REFERENCE_PLAIN_MATCHER_H_
#define TESTS_REFERENCE_PLAIN_MATCHER_H_

#include <cstdint>

#include "MvMatch/limits.h"
#include "MvMatch/minutiae_record.h"

namespace corvex::plain {

// A segment between two minutiae of one print.
struct Stick {
  uint16_t first;         // minutia index
  uint16_t second;        // minutia index
  uint16_t first_angle;   // degrees, against the first minutia's direction
  uint16_t second_angle;  // degrees, against the second minutia's direction
  uint16_t direction;     // degrees; 360 stays 360 until it is turned
  uint16_t length;        // cells
};

// In ascending order of length, within one length as the pairs were found.
struct StickTable {
  uint16_t count;
  Stick stick[kMaxSticks + 1];
};

// A print and its sticks, kept from the last comparison.
struct StickCache {
  MinutiaeVector minutiae;
  StickTable table;
};

// Two sticks, one of each print, that agree.
struct Candidate {
  uint16_t first_stick;
  uint16_t second_stick;
  uint16_t score;
};

// How often each limit was met, so that a test can tell whether it tests them.
struct LimitCounts {
  int64_t full_buckets = 0;
  int64_t full_tables = 0;
  int64_t full_candidates = 0;
  int64_t full_kept = 0;
};

// 1024 times the sine or the cosine of an angle in degrees.
int32_t _SinCos(int32_t angle, int32_t want_sine);
// Integer square root, rounded down; n below 2^30.
uint32_t _Sqrt(uint32_t n);
// Direction of the segment that leads by dx to the right and dy upwards.
uint16_t StickDirection(int32_t dx, int32_t dy);
int32_t IsSameMinutVect(const MinutiaeVector* a, const MinutiaeVector* b);
// The best bin of a translation histogram of kOffsetBins.
int32_t GetBestIndex(const uint64_t* histogram);

class Matcher {
 public:
  // kBadRecord or the score, 0-100.
  int32_t MivoMatchFinger(const uint8_t* first_record,
                          const uint8_t* second_record);
  int32_t _MivoMatchFinger(const WorkingForm& first_working,
                           const WorkingForm& second_working);
  const LimitCounts& limits_met() const { return limits_met_; }

 private:
  void GetBeteenStick(StickTable* table, const MinutiaeVector& vector,
                      int32_t one_direction);
  void FillBuckets(const MinutiaeVector& vector, bool one_direction);
  void LoadFirst();
  void LoadSecond();
  void PairSticks();
  void TryPair(int32_t first_stick, int32_t second_stick);
  int32_t FindRotation() const;
  void TurnSecond(int32_t theta);
  void VoteTranslation();
  void VoteOffset(const Candidate& candidate);
  void MoveSecond();
  void MeasureTolerances();
  bool IsNear(int32_t first_minutia, int32_t second_minutia) const;
  void KeepNear();
  int32_t SumGroups();
  void CollectGroup(int32_t opener);
  bool Joins(const Candidate& candidate) const;
  int32_t GroupScore() const;

  // Caches, one pair for each side.
  StickCache first_cache_{};   // sticks in both orders
  StickCache second_cache_{};  // sticks in one order

  // Work space of one comparison.
  MinutiaeVector first_{};
  MinutiaeVector second_{};    // turned and moved
  StickTable second_table_{};  // the cached one, turned
  struct {
    uint16_t first, second;
  } bucket_[kStickLengths][kMaxPairsPerLength]{};
  int32_t bucket_count_[kStickLengths]{};
  Candidate candidate_[kMaxCandidates]{};
  int32_t candidate_count_ = 0;
  uint64_t rotation_votes_[kFullTurnDegrees]{};
  uint64_t x_votes_[kOffsetBins]{};
  uint64_t y_votes_[kOffsetBins]{};
  int32_t kept_[kMaxKept]{};  // indices into candidate_
  int32_t kept_count_ = 0;
  int32_t tolerance_[kMaxMinutiae]{};  // of each minutia of the second print
  bool consumed_[kMaxKept]{};          // kept candidates that have a group
  Candidate group_[kMaxKept]{};
  int32_t group_count_ = 0;
  LimitCounts limits_met_;
};

}  // namespace corvex::plain

#endif  // TESTS_REFERENCE_PLAIN_MATCHER_H_
