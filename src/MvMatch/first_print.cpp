#include "MvMatch/first_print.h"

#include <algorithm>
#include <cstring>

#include "MvMatch/angle_rows.h"

namespace corvex {
namespace {

// The traits of the stick the other way round: ends exchanged, and what says
// where the stick points turned by half a turn.
Lanes Reversed(Lanes traits) {
  const Lanes exchanged = __builtin_shufflevector(
      traits, traits, kToAngle, kFromAngle, kToDirection, kFromDirection,
      kDirection, kLengthCode, kToMark, kFromMark);
  Lanes turns{};
  turns[kFromAngle] = turns[kToAngle] = turns[kDirection] = -1;
  const Lanes turned = exchanged + (turns & Splat(kHalfTurnDegrees));
  const Lanes beyond = turned >= Splat(kFullTurnDegrees);
  return turned - (beyond & turns & Splat(kFullTurnDegrees));
}

// Places `start` where each length's segments begin; its last element is the
// number of segments.
void CountLengths(const MinutiaPairs& pairs, int32_t pair_count,
                  uint16_t start[kStickLengths + 1]) {
  uint16_t count[kStickLengths + 1] = {};
  for (int32_t i = 0; i < pair_count; ++i) {
    ++count[pairs.traits[i][kLengthCode]];
  }
  uint16_t total = 0;
  for (int32_t code = 0; code <= kStickLengths; ++code) {
    start[code] = total;
    total = static_cast<uint16_t>(total + count[code]);
  }
}

// Both orders of a pair enter the same bucket of 50 one after the other, so a
// bucket takes the first 25 pairs whole.
void PlaceSticks(const MinutiaPairs& pairs, int32_t pair_count,
                 const uint16_t start[kStickLengths + 1], FirstPrint* print) {
  uint16_t next[kStickLengths + 1];
  std::copy(start, start + kStickLengths + 1, next);
  for (int32_t i = 0; i < pair_count; ++i) {
    const Lanes traits = LoadLanes(&pairs.traits[i]);
    const StickEnds ends = pairs.ends[i];
    const int32_t stick = 2 * next[pairs.traits[i][kLengthCode]]++;
    StoreLanes(&print->traits[stick], traits);
    StoreLanes(&print->traits[stick + 1], Reversed(traits));
    print->ends[stick] = ends;
    print->ends[stick + 1] = {ends.to, ends.from};
  }
  print->segment_count = start[kStickLengths];
  // The table has no room for the very last stick: it shall pair with none.
  if (2 * print->segment_count > kMaxSticks) {
    print->traits[kMaxSticks][kFromMark] = kNeverMark;
  }
}

// A word's lowest bits, as many as there are of `count`.
constexpr uint64_t LowBits(int32_t count) {
  if (count >= 64) return ~uint64_t{0};
  return count <= 0 ? 0 : (uint64_t{1} << count) - 1;
}

void MakeBands(const uint16_t start[kStickLengths + 1], FirstPrint* print) {
  print->narrow = true;
  for (int32_t code = 0; code < kStickLengths; ++code) {
    const int32_t low = std::max(code - kMaxLengthDifferenceCells, 0);
    const int32_t high =
        std::min(code + kMaxLengthDifferenceCells + 1, kStickLengths);
    const Band band = {start[low], start[high]};
    const int32_t bits = band.end - band.begin / 8 * 8;
    print->band[code] = band;
    print->narrow &= bits <= 64 * kNarrowWords;
    uint64_t* const mask = print->band_mask[code];
    for (int32_t word = 0; word < kNarrowWords; ++word) {
      mask[word] = LowBits(bits - 64 * word);
    }
    mask[0] &= ~uint64_t{0} << band.begin % 8;
  }
  print->band[kNoStick] = {};
  std::fill_n(print->band_mask[kNoStick], kNarrowWords, 0);
}

}  // namespace

void LoadFirst(const MinutiaeVector& minutiae, FirstPrintScratch* scratch,
               FirstPrint* print) {
  if (SameVector(minutiae, print->minutiae)) return;
  print->minutiae = minutiae;
  const int32_t pair_count =
      FindSticks(minutiae, kMaxPairsPerLength / 2, &scratch->pairs);
  uint16_t start[kStickLengths + 1];
  CountLengths(scratch->pairs, pair_count, start);
  PlaceSticks(scratch->pairs, pair_count, start, print);
  MakeBands(start, print);
  print->row_bytes = 2 * HalfRowBytes(print->segment_count);
  SelectedMakeRows()(&scratch->rows, print);
}

}  // namespace corvex
