// An 8-bit grey picture as a BMP file image in memory.
#ifndef SRC_CX_DLG_GREY_BMP_H_
#define SRC_CX_DLG_GREY_BMP_H_

#include <cstdint>

// Bytes in front of the pixels: file header, info header, palette.
constexpr int32_t kBmpHeadBytes = 14 + 40 + 256 * 4;

constexpr int32_t BmpBytes(int32_t width, int32_t height) {
  return kBmpHeadBytes + width * height;
}

// Writes the picture to `out`, which holds BmpBytes of the rounded size, and
// its length to `len_bytes`. `raw` is top-down, `width` bytes a row. Width and
// height are rounded down to multiples of 4 and must then be 152x200, 208x288
// or 256x360; a `red` other than 0 makes every palette entry's red 255.
// Returns 0, or -1 with nothing written.
int32_t CxSaveRawAsBmp(const uint8_t* raw, int32_t width, int32_t height,
                       uint8_t* out, uint64_t* len_bytes, int32_t red);

#endif  // SRC_CX_DLG_GREY_BMP_H_
