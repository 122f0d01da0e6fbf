#include "MvMatch/print_sticks.h"

#include <algorithm>
#include <cstring>

#include "MvMatch/segment_table.h"
#include "mv_base/wipe.h"

namespace corvex {
namespace {

// Whole vectors of minutiae, and whole cache lines.
constexpr int32_t kPrintRoom = 64;
static_assert(kPrintRoom >= kMaxMinutiae + kLanes, "the tail is read, too");

// A print's minutiae by field.
struct alignas(64) Fields {
  int16_t x[kPrintRoom];
  int16_t y[kPrintRoom];
  int16_t direction[kPrintRoom];
  int16_t mark[kPrintRoom];
};

Fields FieldsOf(const MinutiaeVector& minutiae) {
  Fields fields{};
  for (int32_t i = 0; i < minutiae.count; ++i) {
    const Minutia& m = minutiae.entry[i];
    fields.x[i] = m.x;
    fields.y[i] = m.y;
    fields.direction[i] = m.direction;
    fields.mark[i] =
        static_cast<int16_t>(m.weight + (m.kind == 2 ? kKindMark : 0));
  }
  return fields;
}

// DirectionOf for eight segments.
Lanes Directions(Lanes dx, Lanes dy, Lanes steepness) {
  const Lanes left = Sign(dx);
  const Lanes down = Sign(dy);
  const Lanes base = left & Splat(kHalfTurnDegrees);
  return Lift(base + NegateWhere(left ^ down, steepness));
}

Lanes Opposite(Lanes degrees) {
  const Lanes beyond = degrees >= Splat(kHalfTurnDegrees);
  return degrees + Splat(kHalfTurnDegrees) - (beyond & Splat(kFullTurnDegrees));
}

// The pairs of minutia i with minutiae j to j + 7.
void FindEight(const Fields& f, const SegmentTable& table, int32_t i, int32_t j,
               StickTraits* out) {
  const Lanes dx = LoadLanes(f.x + j) - Splat(f.x[i]);
  const Lanes dy = Splat(f.y[i]) - LoadLanes(f.y + j);
  const Lanes place = Abs(dx) << 8 | Abs(dy);
  Lanes segment;
  for (int32_t k = 0; k < kLanes; ++k) {
    segment[k] = table.Packed(static_cast<uint16_t>(place[k]));
  }
  const Lanes direction = Directions(dx, dy, segment >> 8);
  Lanes traits[kTraits];
  traits[kFromDirection] = Splat(f.direction[i]);
  traits[kToDirection] = LoadLanes(f.direction + j);
  traits[kFromAngle] = Lift(direction - traits[kFromDirection]);
  traits[kToAngle] = Lift(Opposite(direction) - traits[kToDirection]);
  traits[kDirection] = direction;
  traits[kLengthCode] = segment & Splat(0xFF);
  traits[kFromMark] = Splat(f.mark[i]);
  traits[kToMark] = LoadLanes(f.mark + j);
  Transpose(traits);
  std::memcpy(out, traits, sizeof traits);
}

// Of whole vectors of numbers from 0 on.
int16_t Largest(const int16_t* numbers, int32_t count) {
  Lanes largest{};
  for (int32_t i = 0; i < count; i += kLanes) {
    largest = Max(largest, LoadLanes(numbers + i));
  }
  int16_t all = 0;
  for (int32_t k = 0; k < kLanes; ++k) all = std::max<int16_t>(all, largest[k]);
  return all;
}

// Counts the sticks of each length, and leaves those that are too many out.
void CloseFullBuckets(int32_t room, int32_t count, MinutiaPairs* pairs) {
  int16_t* const taken = pairs->of_length;
  std::fill_n(taken, kLengthCodes, int16_t{0});
  for (int32_t i = 0; i < count; ++i) ++taken[pairs->traits[i][kLengthCode]];
  taken[kNoStick] = 0;
  if (Largest(taken, kLengthCodes) <= room) return;
  std::fill_n(taken, kLengthCodes, int16_t{0});
  for (int32_t i = 0; i < count; ++i) {
    int16_t& code = pairs->traits[i][kLengthCode];
    if (code == kNoStick) continue;
    if (taken[code] < room) {
      ++taken[code];
    } else {
      code = kNoStick;
    }
  }
}

}  // namespace

int32_t FindSticks(const MinutiaeVector& minutiae, int32_t room,
                   MinutiaPairs* pairs) {
  const SegmentTable& table = Segments();
  Fields fields = FieldsOf(minutiae);
  const WipeAtEnd wipe(&fields);
  constexpr Lanes kSteps = {0, 0x100, 0x200, 0x300, 0x400, 0x500, 0x600, 0x700};
  int32_t row = 0;  // place of the pair (i, i + 1)
  for (int32_t i = 0; i < minutiae.count; ++i) {
    for (int32_t j = i + 1; j < minutiae.count; j += kLanes) {
      const int32_t place = row + j - i - 1;
      FindEight(fields, table, i, j, &pairs->traits[place]);
      StoreLanes(&pairs->ends[place], Splat(i | j << 8) + kSteps);
    }
    row += minutiae.count - i - 1;
  }
  CloseFullBuckets(room, row, pairs);
  return row;
}

bool SameVector(const MinutiaeVector& a, const MinutiaeVector& b) {
  return a.count == b.count &&
         std::memcmp(a.entry, b.entry, a.count * sizeof(Minutia)) == 0;
}

void LoadSecond(const MinutiaeVector& minutiae, SecondPrint* print) {
  if (SameVector(minutiae, print->minutiae)) return;
  print->minutiae = minutiae;
  print->pair_count = FindSticks(minutiae, kMaxPairsPerLength, &print->pairs);
}

}  // namespace corvex
