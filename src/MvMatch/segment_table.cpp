#include "MvMatch/segment_table.h"

#include <pthread.h>

#include <cmath>

namespace corvex {
namespace {

SegmentTable g_table;
pthread_once_t g_once = PTHREAD_ONCE_INIT;

// Rounded correctly, and no integer root's square is rounded below 2^53: the
// truncated root is exact.
int32_t Length(int32_t dx, int32_t dy) {
  return static_cast<int32_t>(
      std::sqrt(static_cast<double>(dx * dx + dy * dy)));
}

// Deliberate: the short value of pi decides to which side the exact diagonals
// fall. Scores depend on it.
int32_t Steepness(int32_t dx, int32_t dy) {
  if (dx == 0) return 90;
  const double slope = static_cast<double>(dy) / dx;
  return static_cast<int32_t>(std::atan(slope) * 180 / 3.141592654);
}

void MakeTable() {
  for (int32_t dx = 0; dx < 256; ++dx) {
    for (int32_t dy = 0; dy < 256; ++dy) {
      const int32_t length = Length(dx, dy);
      const bool stick = length >= kMinStickCells && length <= kMaxStickCells;
      const int32_t packed = stick ? (length - kMinStickCells) |
                                         Steepness(dx, dy) << kSteepnessShift
                                   : kNoStick;
      g_table.packed[dx << 8 | dy] = static_cast<int16_t>(packed);
    }
  }
}

}  // namespace

const SegmentTable& Segments() {
  pthread_once(&g_once, MakeTable);
  return g_table;
}

}  // namespace corvex
