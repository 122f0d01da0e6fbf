#include "MvMatch/angle_rows.h"

#include <algorithm>
#include <cstring>

#include "MvMatch/processor.h"

namespace corvex {
namespace {

constexpr int32_t kHalf = kMaxAngleDifferenceDegrees;
constexpr int32_t kWindow = 2 * kHalf + 1;

// One source for narrow and wide registers. A column is passed by reference:
// how wide vectors are passed by value depends on the processor.
template <typename Column>
struct Rows {
  static constexpr int32_t kBytes = sizeof(Column);

  static void Unite(const uint8_t* with, Column* column) {
    Column other;
    std::memcpy(&other, with, sizeof other);
    *column |= other;
  }

  // The segments of one column, each under its own angle; `order` is 0 for
  // sticks and 1 for reversed ones.
  static void MarkAngles(const FirstPrint& print, int32_t begin, int32_t order,
                         uint8_t* angle) {
    std::memset(angle + kHalf * kBytes, 0, kFullTurnDegrees * kBytes);
    const int32_t end = std::min(begin + 8 * kBytes, print.segment_count);
    for (int32_t segment = begin; segment < end; ++segment) {
      const int32_t at = print.traits[2 * segment + order][kFromAngle];
      const int32_t degrees = at == kFullTurnDegrees ? 0 : at;
      uint8_t& byte = angle[(degrees + kHalf) * kBytes + (segment - begin) / 8];
      byte = static_cast<uint8_t>(byte | 1 << segment % 8);
    }
    // The circle goes on before its beginning and after its end.
    std::memcpy(angle, angle + kFullTurnDegrees * kBytes, kHalf * kBytes);
    std::memcpy(angle + (kFullTurnDegrees + kHalf) * kBytes,
                angle + kHalf * kBytes, kHalf * kBytes);
  }

  // Each row gets the 25 angles around its own, and the opposite one. 25
  // angles are the tail of one block of 25 and the head of the next, and
  // either is one step more than its neighbour's.
  static void Spread(const uint8_t* angle, int32_t row_bytes, uint8_t* row) {
    for (int32_t block = 0; block < kFullTurnDegrees; block += kWindow) {
      Column tail[kWindow + 1];
      tail[kWindow] = Column{};
      for (int32_t i = kWindow - 1; i >= 0; --i) {
        tail[i] = tail[i + 1];
        Unite(angle + (block + i) * kBytes, &tail[i]);
      }
      const int32_t end = std::min(kWindow, kFullTurnDegrees - block);
      Column head{};
      for (int32_t i = 0; i < end; ++i, row += row_bytes) {
        Column all = head | tail[i];
        Unite(angle + (OppositeOf(block + i) + kHalf) * kBytes, &all);
        std::memcpy(row, &all, sizeof all);
        Unite(angle + (block + i + kWindow) * kBytes, &head);
      }
    }
  }

  // The columns of half a row that begin at byte `begin`, while they are whole.
  // Returns where the next one would begin.
  static int32_t MakeColumns(int32_t begin, RowScratch* scratch,
                             FirstPrint* print) {
    const int32_t half = print->row_bytes / 2;
    uint8_t* const angle = scratch->angle.Data();
    uint8_t* const rows = print->rows.Data();
    int32_t at = begin;
    for (; at + kBytes <= half; at += kBytes) {
      for (int32_t order = 0; order < 2; ++order) {
        MarkAngles(*print, 8 * at, order, angle);
        Spread(angle, print->row_bytes, rows + order * half + at);
      }
    }
    return at;
  }
};

void RepeatFirstRow(FirstPrint* print) {
  uint8_t* const rows = print->rows.Data();
  std::memcpy(rows + kFullTurnDegrees * print->row_bytes, rows,
              static_cast<size_t>(print->row_bytes));
}

using NarrowColumn = uint64_t __attribute__((vector_size(16)));
using WideColumn = uint64_t __attribute__((vector_size(32)));
using WidestColumn = uint64_t __attribute__((vector_size(64)));

}  // namespace

void MakeRowsPortable(RowScratch* scratch, FirstPrint* print) {
  Rows<NarrowColumn>::MakeColumns(0, scratch, print);
  RepeatFirstRow(print);
}

#if defined(__x86_64__)
// Flattened, so that all of it is compiled for the wide registers.
__attribute__((target("avx2"), flatten)) void MakeRowsAvx2(RowScratch* scratch,
                                                           FirstPrint* print) {
  Rows<WideColumn>::MakeColumns(0, scratch, print);
  RepeatFirstRow(print);
}

__attribute__((target("avx512vl,avx512bw"), flatten)) void MakeRowsAvx512(
    RowScratch* scratch, FirstPrint* print) {
  const int32_t rest = Rows<WidestColumn>::MakeColumns(0, scratch, print);
  Rows<WideColumn>::MakeColumns(rest, scratch, print);
  RepeatFirstRow(print);
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
