#include "cx_capdlg/picture.h"

#include <cstdlib>

namespace corvex {
namespace {

constexpr size_t kHeadBytes = 14 + 40;
constexpr int64_t kInfoHeadBytes = 40;
constexpr int64_t kLargestSide = 4096;

int64_t Little(const uint8_t* at, int bytes) {
  uint32_t value = 0;
  for (int i = bytes; i-- > 0;) value = value << 8 | at[i];
  return bytes == 4 ? static_cast<int32_t>(value) : static_cast<int64_t>(value);
}

bool IsSide(int64_t pixels) { return pixels > 0 && pixels <= kLargestSide; }

}  // namespace

bool IsBmp(const uint8_t* data, size_t len_bytes) {
  if (len_bytes < kHeadBytes || data[0] != 'B' || data[1] != 'M') return false;
  const int64_t pixels_at = Little(data + 10, 4);
  const int64_t width = Little(data + 18, 4);
  const int64_t height = std::llabs(Little(data + 22, 4));  // < 0: top-down
  const int64_t bits = Little(data + 28, 2);
  const int64_t compression = Little(data + 30, 4);
  const int64_t colours = Little(data + 46, 4);
  if (Little(data + 14, 4) != kInfoHeadBytes || compression != 0) return false;
  if (bits != 8 && bits != 24 && bits != 32) return false;
  if (!IsSide(width) || !IsSide(height)) return false;
  if (colours < 0 || colours > 256) return false;
  const int64_t palette_bytes =
      bits == 8 ? (colours == 0 ? 256 : colours) * 4 : 0;
  const int64_t row_bytes = (width * bits + 31) / 32 * 4;
  return pixels_at >= static_cast<int64_t>(kHeadBytes) + palette_bytes &&
         pixels_at + row_bytes * height <= static_cast<int64_t>(len_bytes);
}

}  // namespace corvex
