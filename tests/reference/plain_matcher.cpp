#include "reference/plain_matcher.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <set>

namespace corvex::plain {
namespace {

constexpr int16_t SIN_TABLE[91] = {
    0,    18,   36,   54,   71,   89,   107,  125,  143,  160,  178,  195,
    213,  230,  248,  265,  282,  299,  316,  333,  350,  367,  384,  400,
    416,  433,  449,  465,  481,  496,  512,  527,  543,  558,  573,  587,
    602,  616,  630,  644,  658,  672,  685,  698,  711,  724,  737,  749,
    761,  773,  784,  796,  807,  818,  828,  839,  849,  859,  868,  878,
    887,  896,  904,  912,  920,  928,  935,  943,  949,  956,  962,  968,
    974,  979,  984,  989,  994,  998,  1002, 1005, 1008, 1011, 1014, 1016,
    1018, 1020, 1022, 1023, 1023, 1024, 1024};

constexpr int32_t Square(int32_t n) { return n * n; }

int32_t Root(int32_t n) {
  return n == 0 ? 0 : static_cast<int32_t>(_Sqrt(static_cast<uint32_t>(n)));
}

int32_t LiftedAngle(int32_t degrees) {
  return degrees < 0 ? degrees + kFullTurnDegrees : degrees;
}

// How far two angles lie apart, 0-180, when exactly opposite ones are left as
// they are.
int32_t FoldedDifference(int32_t a, int32_t b) {
  const int32_t difference = std::abs(a - b);
  return difference > kHalfTurnDegrees ? kFullTurnDegrees - difference
                                       : difference;
}

// Deliberate: exactly opposite angles count as equal ones.
int32_t AngleDifference(int32_t a, int32_t b) {
  const int32_t difference = FoldedDifference(a, b);
  return difference == kHalfTurnDegrees ? 0 : difference;
}

int32_t LowerForOtherKind(int32_t score, const Minutia& a, const Minutia& b) {
  return a.kind == b.kind ? score : score * 6 / 10;
}

}  // namespace

int32_t _SinCos(int32_t angle, int32_t want_sine) {
  angle = LiftedAngle(angle % kFullTurnDegrees);
  const int32_t rest = angle % 90;
  const int16_t up = SIN_TABLE[rest];
  const int16_t down = SIN_TABLE[90 - rest];
  switch (angle / 90) {
    case 0:
      return want_sine != 0 ? up : down;
    case 1:
      return want_sine != 0 ? down : -up;
    case 2:
      return want_sine != 0 ? -up : -down;
    default:
      return want_sine != 0 ? -down : up;
  }
}

uint32_t _Sqrt(uint32_t n) {
  uint32_t root = 0;
  uint32_t rest = 0;
  for (int32_t shift = 30; shift >= 0; shift -= 2) {
    rest = rest << 2 | (n >> shift & 3);
    root <<= 1;
    if (rest > 2 * root) {
      rest -= 2 * root + 1;
      ++root;
    }
  }
  return root;
}

uint16_t StickDirection(int32_t dx, int32_t dy) {
  if (dx == 0) return dy < 0 ? 270 : 90;
  if (dy == 0) return dx < 0 ? 180 : 0;
  const double slope = static_cast<double>(dy) / dx;
  const auto t = static_cast<int32_t>(std::atan(slope) * 180 / 3.141592654);
  if (dx < 0) return static_cast<uint16_t>(t + kHalfTurnDegrees);
  if (dy < 0) return static_cast<uint16_t>(t + kFullTurnDegrees);
  return static_cast<uint16_t>(t);
}

int32_t IsSameMinutVect(const MinutiaeVector* a, const MinutiaeVector* b) {
  if (a->count != b->count) return 0;
  const auto same = [](const Minutia& m, const Minutia& n) {
    return m.x == n.x && m.y == n.y && m.direction == n.direction;
  };
  return std::equal(a->entry, a->entry + a->count, b->entry, same) ? 1 : 0;
}

int32_t GetBestIndex(const uint64_t* histogram) {
  int32_t centre = 0;
  uint64_t best_sum = 0;
  for (int32_t c = kHalfWindowBins; c < kOffsetBins - kHalfWindowBins; ++c) {
    uint64_t sum = 0;
    for (int32_t i = c - kHalfWindowBins; i <= c + kHalfWindowBins; ++i) {
      sum += histogram[i];
    }
    if (sum > best_sum) {
      best_sum = sum;
      centre = c;
    }
  }
  int32_t best_index = 0;
  uint64_t best = 0;
  // The centre is still 0 when there was no vote: bins below 0 do not exist.
  for (int32_t i = std::max(centre - kHalfWindowBins, 0);
       i <= centre + kHalfWindowBins; ++i) {
    if (histogram[i] > best) {
      best = histogram[i];
      best_index = i;
    }
  }
  return best_index;
}

void Matcher::FillBuckets(const MinutiaeVector& vector, bool one_direction) {
  std::fill(std::begin(bucket_count_), std::end(bucket_count_), 0);
  for (uint16_t i = 0; i < vector.count; ++i) {
    for (uint16_t j = static_cast<uint16_t>(i + 1); j < vector.count; ++j) {
      const Minutia& a = vector.entry[i];
      const Minutia& b = vector.entry[j];
      const int32_t length = Root(Square(b.x - a.x) + Square(b.y - a.y));
      if (length < kMinStickCells || length > kMaxStickCells) continue;
      auto& bucket = bucket_[length - kMinStickCells];
      int32_t& count = bucket_count_[length - kMinStickCells];
      if (count == kMaxPairsPerLength) ++limits_met_.full_buckets;
      if (count < kMaxPairsPerLength) bucket[count++] = {i, j};
      if (one_direction) continue;
      if (count < kMaxPairsPerLength) bucket[count++] = {j, i};
    }
  }
}

void Matcher::GetBeteenStick(StickTable* table, const MinutiaeVector& vector,
                             int32_t one_direction) {
  FillBuckets(vector, one_direction != 0);
  table->count = 0;
  for (int32_t length = kMinStickCells; length <= kMaxStickCells; ++length) {
    const int32_t bucket = length - kMinStickCells;
    for (int32_t i = 0; i < bucket_count_[bucket]; ++i) {
      const auto pair = bucket_[bucket][i];
      const Minutia& a = vector.entry[pair.first];
      const Minutia& b = vector.entry[pair.second];
      const uint16_t direction = StickDirection(b.x - a.x, a.y - b.y);
      table->stick[table->count++] = {
          pair.first,
          pair.second,
          static_cast<uint16_t>(LiftedAngle(direction - a.direction)),
          static_cast<uint16_t>(LiftedAngle(direction - b.direction)),
          direction,
          static_cast<uint16_t>(length)};
      if (table->count == kMaxSticks) {
        ++limits_met_.full_tables;
        return;
      }
    }
  }
}

void Matcher::LoadFirst() {
  if (IsSameMinutVect(&first_cache_.minutiae, &first_) != 0) return;
  GetBeteenStick(&first_cache_.table, first_, 0);
  first_cache_.minutiae = first_;
}

// The second print's table is turned below: on a copy, the cache stays.
void Matcher::LoadSecond() {
  if (IsSameMinutVect(&second_cache_.minutiae, &second_) == 0) {
    GetBeteenStick(&second_cache_.table, second_, 1);
    second_cache_.minutiae = second_;
  }
  const StickTable& table = second_cache_.table;
  second_table_.count = table.count;
  std::copy(table.stick, table.stick + table.count, second_table_.stick);
}

void Matcher::TryPair(int32_t first_stick, int32_t second_stick) {
  const Stick& r = first_cache_.table.stick[first_stick];
  const Stick& v = second_table_.stick[second_stick];
  const int32_t dl = v.length - r.length;
  const int32_t da = AngleDifference(v.first_angle, r.first_angle);
  if (da > kMaxAngleDifferenceDegrees) return;
  const int32_t db = AngleDifference(v.second_angle, r.second_angle);
  if (db > kMaxAngleDifferenceDegrees) return;
  const int32_t distance = Root(Square(dl) + Square(da) + Square(db));
  if (distance > kMaxStickDistance) return;
  const int32_t closeness = kBestCloseness - distance;

  const Minutia& ra = first_.entry[r.first];
  const Minutia& rb = first_.entry[r.second];
  const Minutia& va = second_.entry[v.first];
  const Minutia& vb = second_.entry[v.second];
  const int32_t wa = kFullWeightFactor - std::abs(ra.weight - va.weight);
  const int32_t wb = kFullWeightFactor - std::abs(rb.weight - vb.weight);
  if (wa <= 0 || wb <= 0) return;
  int32_t score = (15 + closeness * Root(wa * wb)) >> 5;
  score = LowerForOtherKind(score, ra, va);
  score = LowerForOtherKind(score, rb, vb);

  candidate_[candidate_count_++] = {static_cast<uint16_t>(first_stick),
                                    static_cast<uint16_t>(second_stick),
                                    static_cast<uint16_t>(score)};
  const auto votes = static_cast<uint64_t>(score);
  rotation_votes_[LiftedAngle(ra.direction - va.direction)] += votes;
  rotation_votes_[LiftedAngle(rb.direction - vb.direction)] += votes;
}

void Matcher::PairSticks() {
  std::fill(std::begin(rotation_votes_), std::end(rotation_votes_), 0);
  candidate_count_ = 0;
  const StickTable& first = first_cache_.table;
  int32_t start = 0;
  for (int32_t r = 0; r < first.count; ++r) {
    bool started = false;
    for (int32_t v = start; v < second_table_.count; ++v) {
      const int32_t dl = second_table_.stick[v].length - first.stick[r].length;
      if (dl > kMaxLengthDifferenceCells) break;
      if (dl < -kMaxLengthDifferenceCells) continue;
      if (!started) start = v;
      started = true;
      TryPair(r, v);
      if (candidate_count_ == kMaxCandidates) {
        ++limits_met_.full_candidates;
        return;
      }
    }
  }
}

int32_t Matcher::FindRotation() const {
  const auto votes_at = [this](int32_t bin) {
    return rotation_votes_[(bin + kFullTurnDegrees) % kFullTurnDegrees];
  };
  int32_t centre = 0;
  uint64_t best_sum = 0;
  for (int32_t r = 0; r < kFullTurnDegrees; ++r) {
    uint64_t sum = 0;
    for (int32_t i = r - kHalfWindowBins; i <= r + kHalfWindowBins; ++i) {
      sum += votes_at(i);
    }
    if (sum > best_sum) {
      best_sum = sum;
      centre = r;
    }
  }
  int32_t theta = 0;
  uint64_t best = 0;
  for (int32_t i = centre - kHalfWindowBins; i <= centre + kHalfWindowBins;
       ++i) {
    if (votes_at(i) > best) {
      best = votes_at(i);
      theta = (i + kFullTurnDegrees) % kFullTurnDegrees;
    }
  }
  return theta;
}

void Matcher::TurnSecond(int32_t theta) {
  int32_t min_x = 10000;
  int32_t min_y = 10000;
  int32_t max_x = 0;
  int32_t max_y = 0;
  for (int32_t i = 0; i < second_.count; ++i) {
    const Minutia& minutia = second_.entry[i];
    min_x = std::min<int32_t>(min_x, minutia.x);
    min_y = std::min<int32_t>(min_y, minutia.y);
    max_x = std::max<int32_t>(max_x, minutia.x);
    max_y = std::max<int32_t>(max_y, minutia.y);
  }
  const int32_t cx = (min_x + max_x) / 2;
  const int32_t cy = (min_y + max_y) / 2;
  const int64_t sine = _SinCos(theta, 1);
  const int64_t cosine = _SinCos(theta, 0);
  for (int32_t i = 0; i < second_.count; ++i) {
    Minutia& minutia = second_.entry[i];
    const int32_t dx = minutia.x - cx;
    const int32_t dy = minutia.y - cy;
    minutia.direction =
        static_cast<int16_t>((minutia.direction + theta) % kFullTurnDegrees);
    minutia.x =
        static_cast<int16_t>(cx + (sine * dy + cosine * dx) / kSineScale);
    minutia.y =
        static_cast<int16_t>(cy - (sine * dx - cosine * dy) / kSineScale);
  }
  for (int32_t i = 0; i < second_table_.count; ++i) {
    uint16_t& direction = second_table_.stick[i].direction;
    direction = static_cast<uint16_t>((direction + theta) % kFullTurnDegrees);
  }
}

void Matcher::VoteOffset(const Candidate& candidate) {
  const Stick& r = first_cache_.table.stick[candidate.first_stick];
  const Stick& v = second_table_.stick[candidate.second_stick];
  const int32_t tx1 = first_.entry[r.first].x - second_.entry[v.first].x;
  const int32_t ty1 = first_.entry[r.first].y - second_.entry[v.first].y;
  const int32_t tx2 = first_.entry[r.second].x - second_.entry[v.second].x;
  const int32_t ty2 = first_.entry[r.second].y - second_.entry[v.second].y;
  if (std::abs(tx2 - tx1) >= kOffsetAgreementCells ||
      std::abs(ty2 - ty1) >= kOffsetAgreementCells) {
    return;
  }
  for (const int32_t offset : {tx1, ty1, tx2, ty2}) {
    if (std::abs(offset) > kMaxOffsetCells) return;
  }
  x_votes_[(tx1 + tx2) / 2 + kMaxOffsetCells] += candidate.score;
  y_votes_[(ty1 + ty2) / 2 + kMaxOffsetCells] += candidate.score;
}

void Matcher::VoteTranslation() {
  std::fill(std::begin(x_votes_), std::end(x_votes_), 0);
  std::fill(std::begin(y_votes_), std::end(y_votes_), 0);
  kept_count_ = 0;
  for (int32_t i = 0; i < candidate_count_; ++i) {
    const Candidate& candidate = candidate_[i];
    const int32_t difference = FoldedDifference(
        first_cache_.table.stick[candidate.first_stick].direction,
        second_table_.stick[candidate.second_stick].direction);
    // Deliberate: exactly opposite sticks pass.
    if (difference > kMaxAngleDifferenceDegrees &&
        difference != kHalfTurnDegrees) {
      continue;
    }
    if (candidate.score != 0) VoteOffset(candidate);
    kept_[kept_count_++] = i;
    if (kept_count_ == kMaxKept) {
      ++limits_met_.full_kept;
      return;
    }
  }
}

void Matcher::MoveSecond() {
  const int32_t tx = GetBestIndex(x_votes_) - kMaxOffsetCells;
  const int32_t ty = GetBestIndex(y_votes_) - kMaxOffsetCells;
  for (int32_t i = 0; i < second_.count; ++i) {
    Minutia& minutia = second_.entry[i];
    minutia.x = static_cast<int16_t>(minutia.x + tx);
    minutia.y = static_cast<int16_t>(minutia.y + ty);
  }
}

// A minutia may lie the farther off, the farther it is from the print's mean
// point.
void Matcher::MeasureTolerances() {
  int32_t sum_x = 0;
  int32_t sum_y = 0;
  for (int32_t i = 0; i < second_.count; ++i) {
    sum_x += second_.entry[i].x;
    sum_y += second_.entry[i].y;
  }
  const int32_t mean_x = sum_x / second_.count;
  const int32_t mean_y = sum_y / second_.count;
  for (int32_t i = 0; i < second_.count; ++i) {
    const int32_t distance = Root(Square(second_.entry[i].x - mean_x) +
                                  Square(second_.entry[i].y - mean_y));
    tolerance_[i] = std::clamp(distance / kCellsPerTolerance + 1,
                               kMinToleranceCells, kMaxToleranceCells);
  }
}

bool Matcher::IsNear(int32_t first_minutia, int32_t second_minutia) const {
  const Minutia& a = first_.entry[first_minutia];
  const Minutia& b = second_.entry[second_minutia];
  const int32_t tolerance = tolerance_[second_minutia];
  return std::abs(a.x - b.x) < tolerance && std::abs(a.y - b.y) < tolerance;
}

void Matcher::KeepNear() {
  int32_t near = 0;
  for (int32_t i = 0; i < kept_count_; ++i) {
    const Candidate& candidate = candidate_[kept_[i]];
    const Stick& r = first_cache_.table.stick[candidate.first_stick];
    const Stick& v = second_table_.stick[candidate.second_stick];
    if (IsNear(r.first, v.first) && IsNear(r.second, v.second)) {
      kept_[near++] = kept_[i];
    }
  }
  kept_count_ = near;
}

bool Matcher::Joins(const Candidate& candidate) const {
  return std::any_of(group_, group_ + group_count_, [&](const Candidate& c) {
    return c.first_stick == candidate.first_stick ||
           c.second_stick == candidate.second_stick;
  });
}

void Matcher::CollectGroup(int32_t opener) {
  group_[0] = candidate_[kept_[opener]];
  group_count_ = 1;
  consumed_[opener] = true;
  int32_t count_before = 0;
  while (group_count_ > count_before && group_count_ < kMaxKept) {
    count_before = group_count_;
    for (int32_t i = 0; i < kept_count_; ++i) {
      const Candidate& candidate = candidate_[kept_[i]];
      if (consumed_[i] || !Joins(candidate)) continue;
      consumed_[i] = true;
      group_[group_count_++] = candidate;
    }
  }
}

// A large group adds the best score of each stick on the side that has fewer.
int32_t Matcher::GroupScore() const {
  const auto lower = [](const Candidate& a, const Candidate& b) {
    return a.score < b.score;
  };
  if (group_count_ <= kSmallGroup) {
    return std::max_element(group_, group_ + group_count_, lower)->score;
  }
  std::set<uint16_t> first_sticks;
  std::set<uint16_t> second_sticks;
  for (int32_t i = 0; i < group_count_; ++i) {
    first_sticks.insert(group_[i].first_stick);
    second_sticks.insert(group_[i].second_stick);
  }
  const bool by_first = first_sticks.size() <= second_sticks.size();
  const auto key = [by_first](const Candidate& c) {
    return by_first ? c.first_stick : c.second_stick;
  };
  int32_t total = 0;
  bool used[kMaxKept] = {};
  for (int32_t i = 0; i < group_count_; ++i) {
    if (used[i]) continue;
    int32_t best = 0;
    for (int32_t j = i; j < group_count_; ++j) {
      if (key(group_[j]) != key(group_[i])) continue;
      used[j] = true;
      best = std::max<int32_t>(best, group_[j].score);
    }
    total += best;
  }
  return total;
}

int32_t Matcher::SumGroups() {
  std::fill(std::begin(consumed_), std::end(consumed_), false);
  int32_t total = 0;
  for (int32_t i = 0; i < kept_count_; ++i) {
    if (consumed_[i]) continue;
    CollectGroup(i);
    total += GroupScore();
  }
  return total;
}

int32_t Matcher::_MivoMatchFinger(const WorkingForm& first_working,
                                  const WorkingForm& second_working) {
  first_ = first_working.minutiae;
  second_ = second_working.minutiae;
  if (first_working.format_tag != kFormatTag ||
      second_working.format_tag != kFormatTag) {
    return 0;
  }
  LoadFirst();
  if (first_cache_.table.count == 0) return 0;
  LoadSecond();
  PairSticks();
  if (candidate_count_ == 0) return 0;
  TurnSecond(FindRotation());
  VoteTranslation();
  if (kept_count_ == 0) return 0;
  MoveSecond();
  MeasureTolerances();
  KeepNear();
  return std::min(SumGroups() / 10, kMaxScore);
}

int32_t Matcher::MivoMatchFinger(const uint8_t* first_record,
                                 const uint8_t* second_record) {
  if (first_record == nullptr || second_record == nullptr) return kBadRecord;
  WorkingForm first;
  WorkingForm second;
  if (ConvertTransferFormat(&first, first_record) == 0 ||
      ConvertTransferFormat(&second, second_record) == 0) {
    return kBadRecord;
  }
  return _MivoMatchFinger(first, second);
}

}  // namespace corvex::plain
