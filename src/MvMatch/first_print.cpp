#include "MvMatch/first_print.h"

#include <algorithm>
#include <cstring>

namespace corvex {
namespace {

constexpr int32_t kWindow = 2 * kMaxAngleDifferenceDegrees + 1;

using Column = uint64_t __attribute__((vector_size(kColumnBytes)));

Column LoadColumn(const uint8_t* from) {
  Column column;
  std::memcpy(&column, from, sizeof column);
  return column;
}

void StoreColumn(uint8_t* to, Column column) {
  std::memcpy(to, &column, sizeof column);
}

// So many bytes of ones, then as many of zeros.
template <int32_t kCount>
struct Runs {
  uint8_t byte[2 * kCount];
  constexpr Runs() : byte{} {
    for (int32_t i = 0; i < kCount; ++i) byte[i] = 0xFF;
  }
};

int32_t Degrees(int32_t angle) { return angle == kFullTurnDegrees ? 0 : angle; }

// Directions turned by half a turn, ends exchanged.
Lanes Reversed(Lanes traits) {
  constexpr Lanes kHalfTurn = {180, 180, 180, 0, 0, 0, 0, 0};
  constexpr Lanes kFullTurn = {360, 360, 360, 0, 0, 0, 0, 0};
  const Lanes turned =
      __builtin_shufflevector(traits, traits, 1, 0, 2, 4, 3, 5, 7, 6) +
      kHalfTurn;
  return turned - ((turned >= Splat(kFullTurnDegrees)) & kFullTurn);
}

// Places `start` where each length's segments begin; its last element is the
// number of segments.
void CountLengths(const MinutiaPairs& pairs, int32_t pair_count,
                  uint16_t start[kStickLengths + 1]) {
  uint16_t count[kStickLengths + 1] = {};
  for (int32_t i = 0; i < pair_count; ++i) {
    ++count[pairs.traits[i].length_code];
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
    const int32_t stick = 2 * next[pairs.traits[i].length_code]++;
    StoreLanes(&print->traits[stick], traits);
    StoreLanes(&print->traits[stick + 1], Reversed(traits));
    print->ends[stick] = ends;
    print->ends[stick + 1] = {ends.second, ends.first};
  }
  print->segment_count = start[kStickLengths];
  // The table has no room for the very last stick: it shall pair with none.
  if (2 * print->segment_count > kMaxSticks) {
    print->traits[kMaxSticks].first_mark = kNeverMark;
  }
}

// Sets `count` bits from the lowest on, and clears the others.
void SetLowBits(int32_t count, uint64_t words[kNarrowWords]) {
  constexpr int32_t kBytes = 8 * kNarrowWords;
  static constexpr Runs<kBytes> kRuns;
  const int32_t bytes = count / 8;
  uint8_t row[kBytes + 1];
  std::memcpy(row, kRuns.byte + kBytes - bytes, kBytes);
  row[bytes] = static_cast<uint8_t>((1 << count % 8) - 1);
  std::memcpy(words, row, kBytes);
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
    SetLowBits(std::min(bits, 64 * kNarrowWords), print->band_mask[code]);
    print->band_mask[code][0] &= ~uint64_t{0} << band.begin % 8;
  }
  print->band[kNoStick] = {};
  std::fill_n(print->band_mask[kNoStick], kNarrowWords, 0);
}

// The segments of one column, each under its own angle; `offset` is 0 for
// sticks and 1 for reversed ones.
void MarkAngles(const FirstPrint& print, int32_t begin, int32_t offset,
                uint8_t angle[][kColumnBytes]) {
  constexpr int32_t kHalf = kMaxAngleDifferenceDegrees;
  std::memset(angle[kHalf], 0, kFullTurnDegrees * kColumnBytes);
  const int32_t end = std::min(begin + kColumnBits, print.segment_count);
  for (int32_t segment = begin; segment < end; ++segment) {
    const int32_t degrees =
        Degrees(print.traits[2 * segment + offset].first_angle);
    uint8_t& byte = angle[degrees + kHalf][segment % kColumnBits / 8];
    byte = static_cast<uint8_t>(byte | 1 << segment % 8);
  }
  // The circle goes on before its beginning and after its end.
  std::memcpy(angle[0], angle[kFullTurnDegrees], kHalf * kColumnBytes);
  std::memcpy(angle[kFullTurnDegrees + kHalf], angle[kHalf],
              kHalf * kColumnBytes);
}

// tail[i]: all angles from i to the end of its block of 25.
void CollectTails(const uint8_t angle[][kColumnBytes],
                  uint8_t tail[][kColumnBytes]) {
  for (int32_t end = kAngleRows; end > 0;) {
    const int32_t begin = (end - 1) / kWindow * kWindow;
    Column carried{};
    for (int32_t i = end - 1; i >= begin; --i) {
      carried |= LoadColumn(angle[i]);
      StoreColumn(tail[i], carried);
    }
    end = begin;
  }
}

// Each row gets the 25 angles around its own, and the opposite one. 25 angles
// are the tail of one block of 25 and the head of the next.
void SpreadAngles(const uint8_t angle[][kColumnBytes],
                  const uint8_t tail[][kColumnBytes], int32_t row_bytes,
                  uint8_t* row) {
  constexpr int32_t kHalf = kMaxAngleDifferenceDegrees;
  const auto opposite = [angle](int32_t i) {
    return LoadColumn(angle[OppositeOf(i) + kHalf]);
  };
  // The first window is the first block: its tail is all of it.
  StoreColumn(row, LoadColumn(tail[0]) | opposite(0));
  for (int32_t begin = 1; begin < kFullTurnDegrees; begin += kWindow) {
    const int32_t end = std::min(begin + kWindow, kFullTurnDegrees);
    Column head{};
    for (int32_t i = begin; i < end; ++i) {
      row += row_bytes;
      head |= LoadColumn(angle[i + kWindow - 1]);
      StoreColumn(row, head | LoadColumn(tail[i]) | opposite(i));
    }
  }
}

void MakeRows(FirstPrintScratch* scratch, FirstPrint* print) {
  const int32_t half = HalfRowBytes(print->segment_count);
  print->row_bytes = 2 * half;
  for (int32_t at = 0; at < half; at += kColumnBytes) {
    for (int32_t reversed = 0; reversed < 2; ++reversed) {
      MarkAngles(*print, 8 * at, reversed, scratch->angle);
      CollectTails(scratch->angle, scratch->tail);
      SpreadAngles(scratch->angle, scratch->tail, print->row_bytes,
                   print->rows + reversed * half + at);
    }
  }
  std::memcpy(print->rows + kFullTurnDegrees * print->row_bytes, print->rows,
              static_cast<size_t>(print->row_bytes));
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
  MakeRows(scratch, print);
}

}  // namespace corvex
