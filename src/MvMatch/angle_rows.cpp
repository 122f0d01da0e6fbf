#include "MvMatch/angle_rows.h"

#include <algorithm>
#include <cstring>

#include "MvMatch/processor.h"

namespace corvex {
namespace {

constexpr int32_t kHalf = kMaxAngleDifferenceDegrees;

void Mark(int32_t bit, uint8_t* byte) {
  *byte = static_cast<uint8_t>(*byte | 1 << bit % 8);
}

// One source for narrow and wide registers. A column is passed by reference:
// how wide vectors are passed by value depends on the processor.
template <typename Column>
struct Rows {
  static constexpr int32_t kBytes = sizeof(Column);
  static constexpr int32_t kSegments = kBytes / kWordBytes * kWordSegments;

  // Each segment's sticks stand at one angle, so that the same marks, toggled
  // again, leave a set.
  static void Toggle(const uint8_t* marks, Column* set) {
    Column other;
    std::memcpy(&other, marks, sizeof other);
    *set ^= other;
  }

  // The segments from `begin` on that one column holds, each under its angles.
  static void MarkAngles(const FirstPrint& print, int32_t begin,
                         uint8_t* angle) {
    std::memset(angle + kHalf * kBytes, 0, kFullTurnDegrees * kBytes);
    const int32_t count = std::min(kSegments, print.segment_count - begin);
    for (int32_t i = 0; i < count; ++i) {
      uint8_t* const column = angle + kHalf * kBytes +
                              i / kWordSegments * kWordBytes +
                              i % kWordSegments / 8;
      const StickTraits& stick = print.traits[2 * (begin + i)];
      Mark(i, column + stick[kFromAngle] * kBytes);
      Mark(i, column + stick[kToAngle] * kBytes + kWordBytes / 2);
    }
    // The circle goes on before its beginning and after its end.
    std::memcpy(angle, angle + kFullTurnDegrees * kBytes, kHalf * kBytes);
    std::memcpy(angle + (kFullTurnDegrees + kHalf) * kBytes,
                angle + kHalf * kBytes, kHalf * kBytes);
  }

  // Each row gets the 25 angles around its own, and the opposite one.
  static void Spread(const uint8_t* angle, int32_t row_bytes, uint8_t* row) {
    Column window{};
    for (int32_t i = 0; i < 2 * kHalf; ++i) Toggle(angle + i * kBytes, &window);
    for (int32_t i = 0; i < kFullTurnDegrees; ++i, row += row_bytes) {
      Toggle(angle + (i + 2 * kHalf) * kBytes, &window);
      Column all = window;
      Toggle(angle + (OppositeOf(i) + kHalf) * kBytes, &all);
      std::memcpy(row, &all, sizeof all);
      Toggle(angle + i * kBytes, &window);
    }
  }

  static void Make(RowScratch* scratch, FirstPrint* print) {
    uint8_t* const angle = scratch->angle.Data();
    uint8_t* const rows = print->rows.Data();
    for (int32_t at = 0; at < print->row_bytes; at += kBytes) {
      MarkAngles(*print, at / kBytes * kSegments, angle);
      Spread(angle, print->row_bytes, rows + at);
    }
  }
};

using NarrowColumn = uint64_t __attribute__((vector_size(16)));
using WideColumn = uint64_t __attribute__((vector_size(32)));
using WidestColumn = uint64_t __attribute__((vector_size(64)));

}  // namespace

void MakeRowsPortable(RowScratch* scratch, FirstPrint* print) {
  Rows<NarrowColumn>::Make(scratch, print);
}

#if defined(__x86_64__)
// Flattened, so that all of it is compiled for the wide registers.
__attribute__((target("avx2"), flatten)) void MakeRowsAvx2(RowScratch* scratch,
                                                           FirstPrint* print) {
  Rows<WideColumn>::Make(scratch, print);
}

__attribute__((target("avx512vl,avx512bw"), flatten)) void MakeRowsAvx512(
    RowScratch* scratch, FirstPrint* print) {
  Rows<WidestColumn>::Make(scratch, print);
}
#endif

MakeRowsFn SelectedMakeRows() {
#if defined(__x86_64__)
  if (HasAvx512()) return MakeRowsAvx512;
  if (HasAvx2()) return MakeRowsAvx2;
#endif
  return MakeRowsPortable;
}

}  // namespace corvex
