#include "reference/plain_matcher.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

namespace corvex::plain {
namespace {

constexpr double kPi = 3.141592654;

constexpr int32_t Square(int32_t n) { return n * n; }

// The integer root, rounded down: two bits of n give one of the root.
int32_t _Sqrt(int32_t n) {
  int32_t root = 0;
  int32_t rest = 0;
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

// 1024 times the sine or the cosine, rounded.
int32_t _SinCos(int32_t degrees, bool want_sine) {
  const double angle = degrees * kPi / 180;
  return static_cast<int32_t>(
      std::lround(1024 * (want_sine ? std::sin(angle) : std::cos(angle))));
}

int32_t Lifted(int32_t degrees) {
  return degrees < 0 ? degrees + 360 : degrees;
}

// How far two angles lie apart. Deliberate: exactly opposite ones not at all.
int32_t AngleDifference(int32_t a, int32_t b) {
  const int32_t difference = std::abs(a - b);
  if (difference > 180) return 360 - difference;
  return difference == 180 ? 0 : difference;
}

// Of the segment that leads by dx to the right and dy upwards.
int32_t StickDirection(int32_t dx, int32_t dy) {
  if (dx == 0) return dy < 0 ? 270 : 90;
  const double slope = static_cast<double>(dy) / dx;
  const auto t = static_cast<int32_t>(std::atan(slope) * 180 / kPi);
  if (dx < 0) return t + 180;
  return dy < 0 ? t + 360 : t;
}

// The largest bin of the window of nine that has the largest sum; of equals,
// the first. The bins are a circle.
template <int32_t kBins>
int32_t FindPeak(const int64_t (&bins)[kBins], int32_t first_centre,
                 int32_t last_centre) {
  const auto votes = [&bins](int32_t i) { return bins[(i + kBins) % kBins]; };
  int32_t centre = 0;
  int64_t best_sum = 0;
  for (int32_t c = first_centre; c <= last_centre; ++c) {
    int64_t sum = 0;
    for (int32_t k = -4; k <= 4; ++k) {
      sum += votes(c + k);
    }
    if (sum > best_sum) centre = c;
    best_sum = std::max(best_sum, sum);
  }
  int32_t peak = 0;
  int64_t best = 0;
  for (int32_t k = -4; k <= 4; ++k) {
    if (votes(centre + k) > best) peak = (centre + k + kBins) % kBins;
    best = std::max(best, votes(centre + k));
  }
  return peak;
}

// Two sticks that agree.
struct Candidate {
  const Stick* first;   // of the first print's table
  const Stick* second;  // of the second's
  int32_t score;
};
using Candidates = std::vector<Candidate>;

// The candidates that share sticks with the last one, directly or through each
// other; they are taken out of `candidates`.
Candidates TakeGroup(Candidates* candidates) {
  Candidates group = {candidates->back()};
  candidates->pop_back();
  for (size_t i = 0; i < group.size(); ++i) {
    const Candidate member = group[i];
    const auto joining = std::partition(
        candidates->begin(), candidates->end(), [member](const Candidate& c) {
          return c.first != member.first && c.second != member.second;
        });
    group.insert(group.end(), joining, candidates->end());
    candidates->erase(joining, candidates->end());
  }
  return group;
}

// A large group adds the best score of each stick on the side that has fewer.
int32_t GroupScore(const Candidates& group) {
  std::map<const Stick*, int32_t> of_first;
  std::map<const Stick*, int32_t> of_second;
  int32_t best = 0;
  for (const Candidate& c : group) {
    best = std::max(best, c.score);
    of_first[c.first] = std::max(of_first[c.first], c.score);
    of_second[c.second] = std::max(of_second[c.second], c.score);
  }
  if (group.size() <= 3) return best;
  int32_t total = 0;
  for (const auto& [stick, score] :
       of_first.size() <= of_second.size() ? of_first : of_second) {
    total += score;
  }
  return total;
}

int32_t WeightFactor(const Minutia& a, const Minutia& b) {
  return 32 - std::abs(a.weight - b.weight);
}

class Comparison {
 public:
  Comparison(const Print& first, const Print& second, LimitsMet* met)
      : first_(first),
        second_(second),
        first_sticks_(GetBeteenStick(first_, false, met)),
        second_sticks_(GetBeteenStick(second_, true, met)),
        met_(met) {}

  int32_t Score() {
    PairSticks();
    if (candidates_.empty()) return 0;
    TurnSecond(FindPeak(rotation_votes_, 0, 359));
    KeepTurned();
    // Here windows do not go round.
    MoveSecond(FindPeak(x_votes_, 4, 732) - 368,
               FindPeak(y_votes_, 4, 732) - 368);
    KeepNear();
    int32_t total = 0;
    while (!candidates_.empty()) total += GroupScore(TakeGroup(&candidates_));
    return std::min(total / 10, 100);
  }

 private:
  void PairSticks() {
    auto start = second_sticks_.begin();
    const auto end = second_sticks_.end();
    for (const Stick& r : first_sticks_) {
      const int32_t shortest = r.length - 14;
      const int32_t longest = r.length + 14;
      while (start != end && start->length < shortest) ++start;
      for (auto v = start; v != end && v->length <= longest; ++v) {
        TryPair(r, *v);
        if (candidates_.size() < 2450) continue;
        ++met_->full_candidates;
        return;
      }
    }
  }

  void TryPair(const Stick& r, const Stick& v) {
    const int32_t da = AngleDifference(v.from_angle, r.from_angle);
    if (da > 12) return;
    const int32_t db = AngleDifference(v.to_angle, r.to_angle);
    if (db > 12) return;
    const int32_t distance =
        _Sqrt(Square(v.length - r.length) + Square(da) + Square(db));
    if (distance > 20) return;
    const int32_t closeness = 21 - distance;

    const int32_t wa = WeightFactor(*r.from, *v.from);
    const int32_t wb = WeightFactor(*r.to, *v.to);
    if (wa <= 0 || wb <= 0) return;
    int32_t score = (15 + closeness * _Sqrt(wa * wb)) >> 5;
    if (r.from->kind != v.from->kind) score = score * 6 / 10;
    if (r.to->kind != v.to->kind) score = score * 6 / 10;

    candidates_.push_back({&r, &v, score});
    rotation_votes_[Lifted(r.from->direction - v.from->direction)] += score;
    rotation_votes_[Lifted(r.to->direction - v.to->direction)] += score;
  }

  // About the middle of the box that the minutiae lie in.
  void TurnSecond(int32_t theta) {
    const int32_t cx = MiddleOf(&Minutia::x);
    const int32_t cy = MiddleOf(&Minutia::y);
    const int32_t sine = _SinCos(theta, true);
    const int32_t cosine = _SinCos(theta, false);
    for (Minutia& m : second_) {
      const int32_t dx = m.x - cx;
      const int32_t dy = m.y - cy;
      m.x = static_cast<int16_t>(cx + (sine * dy + cosine * dx) / 1024);
      m.y = static_cast<int16_t>(cy - (sine * dx - cosine * dy) / 1024);
    }
    for (Stick& v : second_sticks_) {
      v.direction = (v.direction + theta) % 360;
    }
  }

  int32_t MiddleOf(int16_t Minutia::*coordinate) const {
    const auto [low, high] =
        std::minmax_element(second_.begin(), second_.end(),
                            [coordinate](const Minutia& a, const Minutia& b) {
                              return a.*coordinate < b.*coordinate;
                            });
    return ((*low).*coordinate + (*high).*coordinate) / 2;
  }

  // Those that the rotation fits; they vote for the offset.
  void KeepTurned() {
    Candidates kept;
    for (const Candidate& c : candidates_) {
      const int32_t rest =
          AngleDifference(c.first->direction, c.second->direction);
      if (rest > 12) continue;
      VoteOffset(c);
      kept.push_back(c);
      if (kept.size() == 1470) break;
    }
    met_->full_kept += kept.size() == 1470 ? 1 : 0;
    candidates_ = kept;
  }

  void VoteOffset(const Candidate& c) {
    const int32_t tx1 = c.first->from->x - c.second->from->x;
    const int32_t ty1 = c.first->from->y - c.second->from->y;
    const int32_t tx2 = c.first->to->x - c.second->to->x;
    const int32_t ty2 = c.first->to->y - c.second->to->y;
    if (std::abs(tx2 - tx1) >= 15) return;
    if (std::abs(ty2 - ty1) >= 15) return;
    for (const int32_t offset : {tx1, ty1, tx2, ty2}) {
      if (std::abs(offset) > 368) return;
    }
    x_votes_[(tx1 + tx2) / 2 + 368] += c.score;
    y_votes_[(ty1 + ty2) / 2 + 368] += c.score;
  }

  void MoveSecond(int32_t tx, int32_t ty) {
    for (Minutia& m : second_) {
      m.x = static_cast<int16_t>(m.x + tx);
      m.y = static_cast<int16_t>(m.y + ty);
    }
  }

  // A minutia may lie the farther off, the farther it is from the mean point.
  void KeepNear() {
    int32_t sum_x = 0;
    int32_t sum_y = 0;
    for (const Minutia& m : second_) {
      sum_x += m.x;
      sum_y += m.y;
    }
    const auto count = static_cast<int32_t>(second_.size());
    const int32_t mean_x = sum_x / count;
    const int32_t mean_y = sum_y / count;
    const auto is_near = [=](const Minutia& a, const Minutia& b) {
      const int32_t distance =
          _Sqrt(Square(b.x - mean_x) + Square(b.y - mean_y));
      const int32_t tolerance = std::clamp(distance / 10 + 1, 8, 15);
      return std::abs(a.x - b.x) < tolerance && std::abs(a.y - b.y) < tolerance;
    };
    const auto strays = std::remove_if(
        candidates_.begin(), candidates_.end(), [=](const Candidate& c) {
          return !is_near(*c.first->from, *c.second->from) ||
                 !is_near(*c.first->to, *c.second->to);
        });
    candidates_.erase(strays, candidates_.end());
  }

  const Print first_;
  Print second_;  // is turned and moved
  const std::vector<Stick> first_sticks_;
  std::vector<Stick> second_sticks_;
  LimitsMet* const met_;
  Candidates candidates_;
  int64_t rotation_votes_[360] = {};
  int64_t x_votes_[737] = {};
  int64_t y_votes_[737] = {};
};

}  // namespace

std::vector<Stick> GetBeteenStick(const Print& print, bool one_direction,
                                  LimitsMet* met) {
  std::vector<Stick> table;
  int32_t found[236] = {};
  const auto add = [&](const Minutia& a, const Minutia& b, int32_t length) {
    if (found[length] == 50) {
      ++met->full_lengths;
      return;
    }
    ++found[length];
    const int32_t direction = StickDirection(b.x - a.x, a.y - b.y);
    table.push_back({&a, &b, Lifted(direction - a.direction),
                     Lifted(direction - b.direction), direction, length});
  };
  for (auto a = print.begin(); a < print.end(); ++a) {
    for (auto b = a + 1; b < print.end(); ++b) {
      const int32_t length = _Sqrt(Square(b->x - a->x) + Square(b->y - a->y));
      if (length < 35 || length > 235) continue;
      add(*a, *b, length);
      if (!one_direction) add(*b, *a, length);
    }
  }
  std::stable_sort(
      table.begin(), table.end(),
      [](const Stick& a, const Stick& b) { return a.length < b.length; });
  if (table.size() > 2449) table.resize(2449);
  return table;
}

int32_t MivoMatchFinger(const uint8_t* first_record,
                        const uint8_t* second_record, LimitsMet* met) {
  WorkingForm first;
  WorkingForm second;
  if (ConvertTransferFormat(&first, first_record) == 0 ||
      ConvertTransferFormat(&second, second_record) == 0) {
    return -110;
  }
  const Minutia* const a = first.minutiae.entry;
  const Minutia* const b = second.minutiae.entry;
  return Comparison({a, a + first.count}, {b, b + second.count}, met).Score();
}

}  // namespace corvex::plain
