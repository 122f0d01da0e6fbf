#include <gtest/gtest.h>

#include "MvMatch/MvMatch.h"
#include "MvSynth/MvSynth.h"
#include "support/tab_file.h"

namespace {

constexpr int32_t kInvalid = -110;

TEST(MinutiaeRecord, LengthTellsValidFromInvalid) {
  const std::string zeros(500, '0');  // fifty minutiae
  const struct {
    const char* what;
    std::string hex;
    int32_t length;
  } kCases[] = {
      {"empty", "12FF00", 3},
      {"tag 17", "118400", kInvalid},
      {"tag 19", "138400", kInvalid},
      {"direction 359", "1284010102670100", 8},
      {"direction 360", "1284010102680100", kInvalid},
      {"weight 100", "128401010200C800", 8},
      {"weight 101", "128401010200CA00", kInvalid},
      {"auxiliary 100 of kind 2", "12840101020000E4", 8},
      {"auxiliary 101 of kind 2", "12840101020000E5", kInvalid},
      {"50 minutiae", "128432" + zeros, 253},
      {"the last of 50 invalid", "128432" + zeros.substr(2) + "7F", kInvalid},
      {"51 minutiae", "128433" + zeros + "0000000000", kInvalid},
  };
  for (const auto& c : kCases) {
    const support::Bytes record = support::FromHex(c.hex);
    EXPECT_EQ(c.length, GetMivoMinutLen(record.data())) << c.what;
    EXPECT_EQ(c.length, GetOrvaMinutLen(record.data())) << c.what;
  }
  EXPECT_EQ(kInvalid, GetMivoMinutLen(nullptr));
  EXPECT_EQ(kInvalid, GetOrvaMinutLen(nullptr));
  const uint8_t empty[] = {0x12, 0x84, 0};
  EXPECT_EQ(kInvalid, MivoMatchFinger(nullptr, empty));
  EXPECT_EQ(kInvalid, MivoMatchFinger(empty, nullptr));
}

}  // namespace
