#include "cx_dlg/grey_bmp.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

constexpr size_t kGuard = 16;

struct Bmp {
  int32_t result;
  uint64_t length = 77;
  std::vector<uint8_t> bytes;
};

// A picture whose every pixel tells its row and column.
Bmp Save(int32_t width, int32_t height, int32_t red = 0) {
  std::vector<uint8_t> raw;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      raw.push_back(static_cast<uint8_t>(y * 7 + x));
    }
  }
  Bmp bmp{};
  bmp.length = 77;
  bmp.bytes.assign(static_cast<size_t>(BmpBytes(width, height)) + kGuard, 0xEE);
  bmp.result = CxSaveRawAsBmp(raw.data(), width, height, bmp.bytes.data(),
                              &bmp.length, red);
  return bmp;
}

TEST(GreyBmp, TheHeadIsTheFormatsOwn) {
  const Bmp bmp = Save(152, 200);
  ASSERT_EQ(0, bmp.result);
  EXPECT_EQ(31478u, bmp.length);
  const uint8_t expected[] = {
      'B',  'M',  0xF6, 0x7A, 0,   0, 0,    0,    0,   0, 0x36, 0x04, 0, 0,
      40,   0,    0,    0,    152, 0, 0,    0,    200, 0, 0,    0,    1, 0,
      8,    0,    0,    0,    0,   0, 0xC0, 0x76, 0,   0, 0xD3, 0x37, 0, 0,
      0xD3, 0x37, 0,    0,    0,   0, 0,    0,    0,   0, 0,    0,    0, 0,
      0,    0,    1,    1,    1,   0, 2,    2,    2,   0};
  EXPECT_EQ(0, memcmp(expected, bmp.bytes.data(), sizeof expected));
}

TEST(GreyBmp, StandsUprightAndEndsWhereItSays) {
  const Bmp bmp = Save(154, 203);  // rounded to 152x200
  ASSERT_EQ(0, bmp.result);
  ASSERT_EQ(31478u, bmp.length);
  const auto pixel = [&](size_t file_row, size_t x) {
    return bmp.bytes[kBmpHeadBytes + file_row * 152 + x];
  };
  EXPECT_EQ(static_cast<uint8_t>(202 * 7), pixel(0, 0));
  EXPECT_EQ(static_cast<uint8_t>(202 * 7 + 151), pixel(0, 151));
  EXPECT_EQ(static_cast<uint8_t>(201 * 7), pixel(1, 0));
  EXPECT_EQ(static_cast<uint8_t>(3 * 7 + 151), pixel(199, 151));
  EXPECT_EQ(0xEE, bmp.bytes[31478]);
}

TEST(GreyBmp, EverySensorHasItsResolution) {
  const struct {
    int32_t width, height;
    uint64_t length;
    int dots;
  } kCases[] = {{152, 200, 31478, 14291},
                {208, 288, 60982, 19685},
                {256, 360, 93238, 19685}};
  for (const auto& c : kCases) {
    const Bmp bmp = Save(c.width, c.height);
    EXPECT_EQ(0, bmp.result) << c.width;
    EXPECT_EQ(c.length, bmp.length) << c.width;
    EXPECT_EQ(c.dots, bmp.bytes[38] | bmp.bytes[39] << 8) << c.width;
    EXPECT_EQ(c.dots, bmp.bytes[42] | bmp.bytes[43] << 8) << c.width;
  }
}

TEST(GreyBmp, TheRedFlagFillsTheRedOfThePalette) {
  const Bmp bmp = Save(152, 200, 1);
  for (size_t i = 0; i < 256; ++i) {
    const uint8_t grey = static_cast<uint8_t>(i);
    const uint8_t expected[] = {grey, grey, 255, 0};
    EXPECT_EQ(0, memcmp(expected, &bmp.bytes[54 + 4 * i], 4)) << i;
  }
}

TEST(GreyBmp, OtherSizesWriteNothing) {
  for (const auto& [width, height] :
       {std::pair{100, 200}, {152, 196}, {200, 152}, {148, 200}}) {
    const Bmp bmp = Save(width, height);
    EXPECT_EQ(-1, bmp.result) << width;
    EXPECT_EQ(77u, bmp.length) << width;
    EXPECT_EQ(0xEE, bmp.bytes[0]) << width;
  }
}

}  // namespace
