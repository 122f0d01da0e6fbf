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
  uint8_t passes[kFullTurnDegrees] = {};
  for (int32_t d = -kMaxAngleDifferenceDegrees; d <= kMaxAngleDifferenceDegrees;
       ++d) {
    passes[(theta + d + kFullTurnDegrees) % kFullTurnDegrees] = 1;
  }
  passes[OppositeOf(theta)] = 1;
  const int32_t count = candidates->count;
  int32_t n = 0;
  for (int32_t i = 0; i < count; ++i) {
    candidates->packed[n] = candidates->packed[i];
    n += passes[candidates->rotation[i]];
  }
  candidates->count = n;
}

constexpr int32_t kYShift = 16;

PackedPoint Pack(int32_t x, int32_t y) {
  return (static_cast<PackedPoint>(y) << kYShift) + static_cast<PackedPoint>(x);
}

int32_t XOf(PackedPoint p) { return static_cast<int16_t>(p); }

int32_t YOf(PackedPoint p) {
  return static_cast<int16_t>((p - static_cast<PackedPoint>(XOf(p))) >>
                              kYShift);
}

// 1 when neither coordinate is larger than `limit`, else 0: a number, so that
// it is joined without a branch.
uint32_t IsWithin(int32_t limit, PackedPoint p) {
  const PackedPoint lifted = p + Pack(limit, limit);
  const auto most = static_cast<PackedPoint>(2 * limit);
  const bool x_is = (lifted & 0xFFFF) <= most;
  const bool y_is = lifted >> kYShift <= most;
  return static_cast<uint32_t>(x_is) & static_cast<uint32_t>(y_is);
}

void PackAll(const Points& points, PackedPoint packed[kPoints]) {
  for (int32_t i = 0; i < kPoints; ++i) {
    packed[i] = Pack(points.x[i], points.y[i]);
  }
}

// Fills the offsets of all candidates. Those whose ends are moved alike may
// vote; returns how many.
int32_t MeasureOffsets(const FirstPrint& first, const SecondPrint& second,
                       const Candidates& candidates, AlignmentSpace* space) {
  PackedPoint* const p = space->first_at;
  PackedPoint* const q = space->second_at;
  PackAll(space->first, p);
  PackAll(space->second, q);
  uint32_t voters = 0;
  for (int32_t i = 0; i < candidates.count; ++i) {
    const StickEnds r = first.ends[FirstStickOf(candidates.packed[i])];
    const StickEnds v = second.pairs.ends[SecondStickOf(candidates.packed[i])];
    const PackedPoint from = p[r.from] - q[v.from];
    const PackedPoint to = p[r.to] - q[v.to];
    space->from_offset[i] = from;
    space->to_offset[i] = to;
    space->voters[voters] = static_cast<uint16_t>(i);
    voters += IsWithin(kOffsetAgreementCells - 1, from - to);
  }
  return static_cast<int32_t>(voters);
}

// Offsets that the histograms do not hold get no vote.
void Vote(const Candidates& candidates, int32_t voters, AlignmentSpace* space) {
  std::memset(space->x_votes, 0, sizeof space->x_votes);
  std::memset(space->y_votes, 0, sizeof space->y_votes);
  for (int32_t k = 0; k < voters; ++k) {
    const uint16_t i = space->voters[k];
    const PackedPoint from = space->from_offset[i];
    const PackedPoint to = space->to_offset[i];
    if ((IsWithin(kMaxOffsetCells, from) & IsWithin(kMaxOffsetCells, to)) ==
        0) {
      continue;
    }
    const auto score = static_cast<int32_t>(ScoreOf(candidates.packed[i]));
    int16_t& x = space->x_votes[XOf(from + to) / 2 + kMaxOffsetCells];
    int16_t& y = space->y_votes[YOf(from + to) / 2 + kMaxOffsetCells];
    x = static_cast<int16_t>(x + score);
    y = static_cast<int16_t>(y + score);
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

void MeasureTolerances(const Points& points, int32_t count,
                       int16_t out[kPoints]) {
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

// Keeps the candidates both of whose ends, moved, are nearer than the
// tolerance of the second print's minutia.
void KeepNear(const SecondPrint& second, PackedPoint move,
              const AlignmentSpace& space, Candidates* candidates) {
  const int32_t count = candidates->count;
  uint32_t n = 0;
  for (int32_t i = 0; i < count; ++i) {
    const uint32_t c = candidates->packed[i];
    const StickEnds v = second.pairs.ends[SecondStickOf(c)];
    candidates->packed[n] = c;
    n += IsWithin(space.tolerance[v.from] - 1, space.from_offset[i] - move) &
         IsWithin(space.tolerance[v.to] - 1, space.to_offset[i] - move);
  }
  candidates->count = static_cast<int32_t>(n);
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
  const int32_t first_count = first.minutiae.count;
  const int32_t count = second.minutiae.count;
  for (int32_t i = 0; i < first_count; ++i) {
    space->first.x[i] = first.minutiae.entry[i].x;
    space->first.y[i] = first.minutiae.entry[i].y;
  }
  const int32_t voters = MeasureOffsets(first, second, *candidates, space);
  Vote(*candidates, voters, space);
  const int32_t tx =
      GetBestIndex(space->x_votes, BinsOf(RangeOf(space->first.x, first_count),
                                          RangeOf(space->second.x, count))) -
      kMaxOffsetCells;
  const int32_t ty =
      GetBestIndex(space->y_votes, BinsOf(RangeOf(space->first.y, first_count),
                                          RangeOf(space->second.y, count))) -
      kMaxOffsetCells;
  MovePoints(tx, ty, count, &space->second);
  MeasureTolerances(space->second, count, space->tolerance);
  KeepNear(second, Pack(tx, ty), *space, candidates);
}

}  // namespace corvex
