#include "cx_capdlg/picture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "cx_dlg/grey_bmp.h"

namespace {

using corvex::IsBmp;

std::vector<uint8_t> DriversPicture() {
  const std::vector<uint8_t> raw(152 * 200, 255);
  std::vector<uint8_t> bmp(BmpBytes(152, 200));
  uint64_t length = 0;
  CxSaveRawAsBmp(raw.data(), 152, 200, bmp.data(), &length, 0);
  return bmp;
}

TEST(Picture, TheDriversIsOne) {
  const std::vector<uint8_t> bmp = DriversPicture();
  EXPECT_TRUE(IsBmp(bmp.data(), bmp.size()));
}

TEST(Picture, APartOfOneIsNone) {
  const std::vector<uint8_t> bmp = DriversPicture();
  for (const size_t size : {bmp.size() - 1, size_t{1078}, size_t{54},
                            size_t{53}, size_t{2}, size_t{0}}) {
    const std::vector<uint8_t> part(bmp.data(), bmp.data() + size);
    EXPECT_FALSE(IsBmp(part.data(), part.size())) << size;
  }
}

TEST(Picture, AHeadThatLiesIsNone) {
  const struct {
    const char* lie;
    size_t at;
    uint8_t value;
  } kCases[] = {
      {"signature", 0, 'X'},
      {"pixels in the head", 10, 0},
      {"pixels behind the end", 12, 1},
      {"negative offset", 13, 0x80},
      {"another head", 14, 12},
      {"no width", 18, 0},
      {"huge width", 21, 0x7F},
      {"negative width", 21, 0xFF},
      {"huge height", 25, 0x7F},
      {"1 bit a pixel", 28, 1},
      {"compressed", 30, 1},
      {"too many colours", 48, 1},
      {"negative colours", 49, 0x80},
  };
  for (const auto& c : kCases) {
    std::vector<uint8_t> bmp = DriversPicture();
    bmp[c.at] = c.value;
    EXPECT_FALSE(IsBmp(bmp.data(), bmp.size())) << c.lie;
  }
}

TEST(Picture, ATopDownOneIsOne) {
  std::vector<uint8_t> bmp = DriversPicture();
  const int32_t height = -200;
  for (int i = 0; i < 4; ++i) {
    bmp[22 + static_cast<size_t>(i)] =
        static_cast<uint8_t>(static_cast<uint32_t>(height) >> (8 * i));
  }
  EXPECT_TRUE(IsBmp(bmp.data(), bmp.size()));
}

}  // namespace
