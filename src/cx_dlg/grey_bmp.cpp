#include "cx_dlg/grey_bmp.h"

#include <algorithm>

namespace {

constexpr int32_t kInfoHeadBytes = 40;
constexpr int32_t kBitsPerPixel = 8;

// 363 and 500 dots per inch, in dots per metre; 0 for a size no sensor has.
int32_t DotsPerMetre(int32_t width, int32_t height) {
  if (width == 152 && height == 200) return 14291;
  if (width == 208 && height == 288) return 19685;
  if (width == 256 && height == 360) return 19685;
  return 0;
}

class LittleEndian {
 public:
  explicit LittleEndian(uint8_t* out) : out_(out) {}
  void Put2(int32_t value) { Put(value, 2); }
  void Put4(int32_t value) { Put(value, 4); }
  uint8_t* End() const { return out_; }

 private:
  void Put(int32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
      *out_++ = static_cast<uint8_t>(static_cast<uint32_t>(value) >> (8 * i));
    }
  }

  uint8_t* out_;
};

uint8_t* PutHeads(uint8_t* out, int32_t width, int32_t height) {
  const int32_t dots = DotsPerMetre(width, height);
  LittleEndian to(out);
  to.Put2('B' | 'M' << 8);
  to.Put4(BmpBytes(width, height));
  to.Put4(0);
  to.Put4(kBmpHeadBytes);
  to.Put4(kInfoHeadBytes);
  to.Put4(width);
  to.Put4(height);  // positive: the rows stand bottom-up
  to.Put2(1);
  to.Put2(kBitsPerPixel);
  to.Put4(0);
  to.Put4(width * height);
  to.Put4(dots);
  to.Put4(dots);
  to.Put4(0);
  to.Put4(0);
  return to.End();
}

uint8_t* PutPalette(uint8_t* out, bool red) {
  for (int i = 0; i < 256; ++i) {
    const auto grey = static_cast<uint8_t>(i);
    *out++ = grey;
    *out++ = grey;
    *out++ = red ? 255 : grey;
    *out++ = 0;
  }
  return out;
}

}  // namespace

int32_t CxSaveRawAsBmp(const uint8_t* raw, int32_t width, int32_t height,
                       uint8_t* out, uint64_t* len_bytes, int32_t red) {
  const int32_t bmp_width = width / 4 * 4;
  const int32_t bmp_height = height / 4 * 4;
  if (DotsPerMetre(bmp_width, bmp_height) == 0) return -1;
  if (raw == nullptr || out == nullptr || len_bytes == nullptr) return -1;
  out = PutPalette(PutHeads(out, bmp_width, bmp_height), red != 0);
  for (int32_t row = height - 1; row >= height - bmp_height; --row) {
    out = std::copy_n(raw + row * width, bmp_width, out);
  }
  *len_bytes = static_cast<uint64_t>(BmpBytes(bmp_width, bmp_height));
  return 0;
}
