#include "MvMatch/first_print.h"

#include <algorithm>
#include <cstring>

#include "MvMatch/angle_rows.h"

namespace corvex {
namespace {

// The traits of the stick the other way round: what belongs to its ends is
// exchanged, and it points the other way.
Lanes Reversed(Lanes traits) {
  const Lanes exchanged = __builtin_shufflevector(
      traits, traits, kToAngle, kFromAngle, kToDirection, kFromDirection,
      kDirection, kLengthCode, kToMark, kFromMark);
  Lanes turn{};
  turn[kDirection] = kHalfTurnDegrees;
  const Lanes beyond = exchanged >= Splat(kHalfTurnDegrees);
  return exchanged + NegateWhere(beyond, turn);
}

// Where each length's segments begin, with the shorter and longer lengths of a
// band that there are not.
constexpr int32_t kBefore = kMaxLengthDifferenceCells;
constexpr int32_t kStarts = kStickLengths + 2 * kBefore + 1;

// Returns the number of segments.
int32_t StartLengths(const MinutiaPairs& pairs, uint16_t start[kStarts]) {
  uint16_t total = 0;
  std::fill_n(start, kBefore, total);
  for (int32_t code = 0; code < kStickLengths; ++code) {
    start[kBefore + code] = total;
    total = static_cast<uint16_t>(total + pairs.of_length[code]);
  }
  std::fill_n(start + kBefore + kStickLengths, kBefore + 1, total);
  return total;
}

// Both orders of a pair enter the same bucket of 50 one after the other, so a
// bucket takes the first 25 pairs whole.
void PlaceSticks(const MinutiaPairs& pairs, int32_t pair_count,
                 const uint16_t start[kStarts], FirstPrint* print) {
  uint16_t next[kNoStick + 1];
  std::copy(start + kBefore, start + kBefore + kNoStick + 1, next);
  for (int32_t i = 0; i < pair_count; ++i) {
    const Lanes traits = LoadLanes(&pairs.traits[i]);
    const StickEnds ends = pairs.ends[i];
    const int32_t stick = 2 * next[pairs.traits[i][kLengthCode]]++;
    StoreLanes(&print->traits[stick], traits);
    StoreLanes(&print->traits[stick + 1], Reversed(traits));
    print->ends[stick] = ends;
    print->ends[stick + 1] = {ends.to, ends.from};
  }
  // The table has no room for the very last stick: it shall pair with none.
  if (2 * print->segment_count > kMaxSticks) {
    print->traits[kMaxSticks][kFromMark] = kNeverMark;
  }
}

void MakeBands(const uint16_t start[kStarts], Bands* bands) {
  for (int32_t code = 0; code < kStickLengths; ++code) {
    const uint32_t begin = start[code];
    const uint32_t end = start[code + 2 * kMaxLengthDifferenceCells + 1];
    const uint32_t word = begin / kWordSegments;
    bands->at[code] = word * kWordBytes;
    bands->begin[code] = begin - word * kWordSegments;
    bands->end[code] = end - word * kWordSegments;
  }
  bands->at[kNoStick] = bands->begin[kNoStick] = bands->end[kNoStick] = 0;
}

}  // namespace

void LoadFirst(const MinutiaeVector& minutiae, FirstPrintScratch* scratch,
               FirstPrint* print) {
  if (SameVector(minutiae, print->minutiae)) return;
  print->minutiae = minutiae;
  const int32_t pair_count =
      FindSticks(minutiae, kMaxPairsPerLength / 2, &scratch->pairs);
  uint16_t start[kStarts];
  print->segment_count = StartLengths(scratch->pairs, start);
  PlaceSticks(scratch->pairs, pair_count, start, print);
  MakeBands(start, &print->bands);
  print->row_bytes = RowBytes(print->segment_count);
  SelectedMakeRows()(&scratch->rows, print);
}

}  // namespace corvex
