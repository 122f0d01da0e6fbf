#include "MvMatch/alignment.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace corvex {
namespace {

constexpr int32_t kMostWindows = kOffsetBins;

constexpr int16_t SIN_TABLE[91] = {
    0,    18,   36,   54,   71,   89,   107,  125,  143,  160,  178,  195,
    213,  230,  248,  265,  282,  299,  316,  333,  350,  367,  384,  400,
    416,  433,  449,  465,  481,  496,  512,  527,  543,  558,  573,  587,
    602,  616,  630,  644,  658,  672,  685,  698,  711,  724,  737,  749,
    761,  773,  784,  796,  807,  818,  828,  839,  849,  859,  868,  878,
    887,  896,  904,  912,  920,  928,  935,  943,  949,  956,  962,  968,
    974,  979,  984,  989,  994,  998,  1002, 1005, 1008, 1011, 1014, 1016,
    1018, 1020, 1022, 1023, 1023, 1024, 1024};

// 1024 times the sine of 0 to 449 degrees.
int32_t Sine(int32_t degrees) {
  const int32_t angle = degrees % kFullTurnDegrees;
  const int32_t half = angle % kHalfTurnDegrees;
  const int32_t size = SIN_TABLE[half <= 90 ? half : kHalfTurnDegrees - half];
  return angle < kHalfTurnDegrees ? size : -size;
}

int32_t Cosine(int32_t degrees) { return Sine(degrees + 90); }

struct Range {
  int32_t low;
  int32_t high;
};

Range RangeOf(const int16_t* coordinates, int32_t count) {
  Range range = {coordinates[0], coordinates[0]};
  for (int32_t i = 1; i < count; ++i) {
    range.low = std::min<int32_t>(range.low, coordinates[i]);
    range.high = std::max<int32_t>(range.high, coordinates[i]);
  }
  return range;
}

// The bins that votes can go to when any minutia may meet any other.
Range BinsOf(Range first, Range second) {
  return {std::max(first.low - second.high, -kMaxOffsetCells) + kMaxOffsetCells,
          std::min(first.high - second.low, kMaxOffsetCells) + kMaxOffsetCells};
}

// Votes in one vector.
using RotationLanes = int32_t __attribute__((vector_size(16)));
using OffsetLanes = Lanes;

template <typename V, typename T>
V Load(const T* from) {
  V v;
  std::memcpy(&v, from, sizeof v);
  return v;
}

template <typename V>
bool AnySet(V v) {
  uint64_t halves[2];
  static_assert(sizeof halves == sizeof v, "");
  std::memcpy(halves, &v, sizeof v);
  return (halves[0] | halves[1]) != 0;
}

// Index of the first largest bin of the window that begins at `window`.
template <typename T>
int32_t LargestInWindow(const T* bins, int32_t window) {
  const T* const begin = bins + window;
  const T* const end = begin + 2 * kHalfWindowBins + 1;
  return static_cast<int32_t>(std::max_element(begin, end) - bins);
}

// Beginning of the first window of nine bins with the largest sum, of those
// that begin below `count`; -1 when all are empty. Reads whole vectors V: up to
// one beyond the last window.
template <typename V, typename T>
int32_t FindWindow(const T* bins, int32_t count) {
  constexpr int32_t kStep = sizeof(V) / sizeof(T);
  V sums[kMostWindows / kStep + 1];
  V largest{};
  for (int32_t i = 0; i < count; i += kStep) {
    V sum = Load<V>(bins + i);
    for (int32_t k = 1; k <= 2 * kHalfWindowBins; ++k) {
      sum += Load<V>(bins + i + k);
    }
    sums[i / kStep] = sum;
    largest = sum > largest ? sum : largest;
  }
  T best = 0;
  for (int32_t k = 0; k < kStep; ++k) best = std::max<T>(best, largest[k]);
  if (best == 0) return -1;
  int32_t at = 0;
  while (!AnySet(sums[at] == best)) ++at;
  int32_t lane = 0;
  while (sums[at][lane] != best) ++lane;
  return at * kStep + lane;
}

int32_t FindRotation(const uint32_t* votes) {
  // The circle, with the window's half again before and behind.
  int32_t bins[kFullTurnDegrees + 2 * kHalfWindowBins];
  constexpr size_t kHalf = kHalfWindowBins * sizeof *bins;
  std::memcpy(bins + kHalfWindowBins, votes, kFullTurnDegrees * sizeof *bins);
  std::memcpy(bins, bins + kFullTurnDegrees, kHalf);
  std::memcpy(bins + kHalfWindowBins + kFullTurnDegrees, bins + kHalfWindowBins,
              kHalf);
  const int32_t window = FindWindow<RotationLanes>(bins, kFullTurnDegrees);
  if (window < 0) return 0;
  const int32_t bin = LargestInWindow(bins, window) - kHalfWindowBins;
  return (bin + kFullTurnDegrees) % kFullTurnDegrees;
}

// The best bin; all votes lie in the bins from `low` to `high`, so that windows
// that touch none of them are empty. The bins past the last window's are too:
// it does not matter that more windows are summed up than there are.
int32_t GetBestIndex(const OffsetVotes votes, Range range) {
  const int32_t begin = std::max(range.low - 2 * kHalfWindowBins, 0);
  const int32_t end =
      std::min(range.high, kOffsetBins - 2 * kHalfWindowBins - 1);
  const int32_t window =
      FindWindow<OffsetLanes>(votes + begin, end + 1 - begin);
  return window < 0 ? 0 : LargestInWindow(votes, begin + window);
}

// Truncates toward zero.
int32_t Unscale(int32_t n) { return n / kSineScale; }

void TurnPoints(const MinutiaeVector& minutiae, int32_t theta, Points* out) {
  int32_t min_x = 10000;
  int32_t min_y = 10000;
  int32_t max_x = 0;
  int32_t max_y = 0;
  for (int32_t i = 0; i < minutiae.count; ++i) {
    min_x = std::min<int32_t>(min_x, minutiae.entry[i].x);
    min_y = std::min<int32_t>(min_y, minutiae.entry[i].y);
    max_x = std::max<int32_t>(max_x, minutiae.entry[i].x);
    max_y = std::max<int32_t>(max_y, minutiae.entry[i].y);
  }
  const int32_t cx = (min_x + max_x) / 2;
  const int32_t cy = (min_y + max_y) / 2;
  const int32_t sine = Sine(theta);
  const int32_t cosine = Cosine(theta);
  for (int32_t i = 0; i < minutiae.count; ++i) {
    const int32_t dx = minutiae.entry[i].x - cx;
    const int32_t dy = minutiae.entry[i].y - cy;
    out->x[i] = static_cast<int16_t>(cx + Unscale(sine * dy + cosine * dx));
    out->y[i] = static_cast<int16_t>(cy - Unscale(sine * dx - cosine * dy));
  }
}

// Passes the rotations near theta, and those exactly opposite.
void KeepTurned(int32_t theta, Candidates* candidates) {
  uint8_t passes[kFullTurnDegrees + 1] = {};
  for (int32_t d = -kMaxAngleDifferenceDegrees; d <= kMaxAngleDifferenceDegrees;
       ++d) {
    passes[(theta + d + kFullTurnDegrees) % kFullTurnDegrees] = 1;
  }
  passes[OppositeOf(theta)] = 1;
  passes[kFullTurnDegrees] = passes[0];
  const int32_t count = candidates->count;
  int32_t n = 0;
  for (int32_t i = 0; i < count; ++i) {
    candidates->packed[n] = candidates->packed[i];
    n += passes[candidates->rotation[i]];
  }
  candidates->count = n;
}

// 1 when |n| <= limit, else 0; a number, so that it is joined without a branch.
int32_t IsWithin(int32_t limit, int32_t n) {
  return static_cast<uint32_t>(n + limit) <= static_cast<uint32_t>(2 * limit)
             ? 1
             : 0;
}

// Whether both ends are moved alike, by no more than the histograms hold.
int32_t AgreeOnOffset(int32_t a, int32_t b) {
  return IsWithin(kOffsetAgreementCells - 1, a - b) &
         IsWithin(kMaxOffsetCells, a) & IsWithin(kMaxOffsetCells, b);
}

void Vote(const FirstPrint& first, const SecondPrint& second,
          const Candidates& candidates, AlignmentSpace* space) {
  std::memset(space->x_votes, 0, sizeof space->x_votes);
  std::memset(space->y_votes, 0, sizeof space->y_votes);
  const Points& p = space->first;
  const Points& q = space->second;
  for (int32_t i = 0; i < candidates.count; ++i) {
    const StickEnds r = first.ends[FirstStickOf(candidates.packed[i])];
    const StickEnds v = second.pairs.ends[SecondStickOf(candidates.packed[i])];
    const int32_t tx1 = p.x[r.from] - q.x[v.from];
    const int32_t ty1 = p.y[r.from] - q.y[v.from];
    const int32_t tx2 = p.x[r.to] - q.x[v.to];
    const int32_t ty2 = p.y[r.to] - q.y[v.to];
    // Without a branch: where they disagree, bin 0 gets nothing.
    const int32_t agree = -(AgreeOnOffset(tx1, tx2) & AgreeOnOffset(ty1, ty2));
    const auto score = static_cast<int16_t>(
        static_cast<int32_t>(ScoreOf(candidates.packed[i])) & agree);
    const int32_t x_bin = ((tx1 + tx2) / 2 + kMaxOffsetCells) & agree;
    const int32_t y_bin = ((ty1 + ty2) / 2 + kMaxOffsetCells) & agree;
    space->x_votes[x_bin] = static_cast<int16_t>(space->x_votes[x_bin] + score);
    space->y_votes[y_bin] = static_cast<int16_t>(space->y_votes[y_bin] + score);
  }
}

void MovePoints(int32_t tx, int32_t ty, int32_t count, Points* points) {
  for (int32_t i = 0; i < count; ++i) {
    points->x[i] = static_cast<int16_t>(points->x[i] + tx);
    points->y[i] = static_cast<int16_t>(points->y[i] + ty);
  }
}

// 8 up to a distance of 80 from the mean point, then one more for each 10, 15
// from 140 on; told from the square, without a root.
int16_t ToleranceAt(int32_t squared_distance) {
  int32_t tolerance = kMinToleranceCells;
  for (int32_t t = kMinToleranceCells; t < kMaxToleranceCells; ++t) {
    const int32_t distance = t * kCellsPerTolerance;
    tolerance += squared_distance >= distance * distance ? 1 : 0;
  }
  return static_cast<int16_t>(tolerance);
}

void MeasureTolerances(const Points& points, int32_t count, int16_t* out) {
  int32_t sum_x = 0;
  int32_t sum_y = 0;
  for (int32_t i = 0; i < count; ++i) {
    sum_x += points.x[i];
    sum_y += points.y[i];
  }
  const int32_t mean_x = sum_x / count;
  const int32_t mean_y = sum_y / count;
  for (int32_t i = 0; i < count; ++i) {
    const int32_t dx = points.x[i] - mean_x;
    const int32_t dy = points.y[i] - mean_y;
    out[i] = ToleranceAt(dx * dx + dy * dy);
  }
}

// Which minutiae of the first print lie near each of the second.
void FindNear(int32_t first_count, int32_t second_count,
              AlignmentSpace* space) {
  for (int32_t i = 0; i < second_count; ++i) {
    const Lanes x = Splat(space->second.x[i]);
    const Lanes y = Splat(space->second.y[i]);
    const Lanes tolerance = Splat(space->tolerance[i]);
    for (int32_t j = 0; j < first_count; j += kLanes) {
      const Lanes dx = Abs(LoadLanes(space->first.x + j) - x);
      const Lanes dy = Abs(LoadLanes(space->first.y + j) - y);
      const Lanes near = (dx < tolerance) & (dy < tolerance) & 1;
      using Bytes = uint8_t __attribute__((vector_size(8)));
      const Bytes bytes = __builtin_convertvector(near, Bytes);
      std::memcpy(&space->near[i][j], &bytes, sizeof bytes);
    }
  }
}

void KeepNear(const FirstPrint& first, const SecondPrint& second,
              const AlignmentSpace& space, Candidates* candidates) {
  const int32_t count = candidates->count;
  int32_t n = 0;
  for (int32_t i = 0; i < count; ++i) {
    const uint32_t c = candidates->packed[i];
    const StickEnds r = first.ends[FirstStickOf(c)];
    const StickEnds v = second.pairs.ends[SecondStickOf(c)];
    candidates->packed[n] = c;
    n += space.near[v.from][r.from] & space.near[v.to][r.to];
  }
  candidates->count = n;
}

}  // namespace

void Turn(const SecondPrint& second, const uint32_t* rotation_votes,
          AlignmentSpace* space, Candidates* candidates) {
  const int32_t theta = FindRotation(rotation_votes);
  TurnPoints(second.minutiae, theta, &space->second);
  KeepTurned(theta, candidates);
}

void Move(const FirstPrint& first, const SecondPrint& second,
          AlignmentSpace* space, Candidates* candidates) {
  for (int32_t i = 0; i < first.minutiae.count; ++i) {
    space->first.x[i] = first.minutiae.entry[i].x;
    space->first.y[i] = first.minutiae.entry[i].y;
  }
  const int32_t count = second.minutiae.count;
  Vote(first, second, *candidates, space);
  const int32_t first_count = first.minutiae.count;
  const int32_t tx =
      GetBestIndex(space->x_votes, BinsOf(RangeOf(space->first.x, first_count),
                                          RangeOf(space->second.x, count)));
  const int32_t ty =
      GetBestIndex(space->y_votes, BinsOf(RangeOf(space->first.y, first_count),
                                          RangeOf(space->second.y, count)));
  MovePoints(tx - kMaxOffsetCells, ty - kMaxOffsetCells, count, &space->second);
  MeasureTolerances(space->second, count, space->tolerance);
  FindNear(first.minutiae.count, count, space);
  KeepNear(first, second, *space, candidates);
}

}  // namespace corvex
