#include "MvMatch/minutiae_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "MvMatch/MvMatch.h"
#include "MvSynth/MvSynth.h"

namespace {

constexpr int32_t kInvalid = -110;

// One minutia at (1, 2).
std::vector<uint8_t> Record(uint32_t direction, uint32_t weight,
                            uint8_t kind_byte) {
  const uint32_t word = direction | weight << 9;
  return {0x12,
          0x84,
          1,
          1,
          2,
          static_cast<uint8_t>(word),
          static_cast<uint8_t>(word >> 8),
          kind_byte};
}

TEST(MinutiaeRecord, LengthTellsValidFromInvalid) {
  const struct {
    const char* what;
    std::vector<uint8_t> record;
    int32_t length;
  } kCases[] = {
      {"empty", {0x12, 0xFF, 0}, 3},
      {"tag 17", {0x11, 0x84, 0}, kInvalid},
      {"tag 19", {0x13, 0x84, 0}, kInvalid},
      {"least values", Record(0, 0, 0), 8},
      {"direction 359", Record(359, 0, 0), 8},
      {"direction 360", Record(360, 0, 0), kInvalid},
      {"direction 511", Record(511, 0, 0), kInvalid},
      {"weight 100", Record(0, 100, 0), 8},
      {"weight 101", Record(0, 101, 0), kInvalid},
      {"weight 127", Record(0, 127, 0), kInvalid},
      {"auxiliary 100 of kind 2", Record(0, 0, 0xE4), 8},
      {"auxiliary 101", Record(0, 0, 101), kInvalid},
      {"auxiliary 101 of kind 2", Record(0, 0, 0xE5), kInvalid},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(c.length, GetMivoMinutLen(c.record.data())) << c.what;
    EXPECT_EQ(c.length, GetOrvaMinutLen(c.record.data())) << c.what;
  }
  EXPECT_EQ(kInvalid, GetMivoMinutLen(nullptr));
  EXPECT_EQ(kInvalid, GetOrvaMinutLen(nullptr));
}

TEST(MinutiaeRecord, HoldsFiftyMinutiaeAtMost) {
  std::vector<uint8_t> record(512);
  record[0] = 0x12;
  record[2] = 50;
  EXPECT_EQ(253, GetMivoMinutLen(record.data()));
  record[2] = 51;
  EXPECT_EQ(kInvalid, GetMivoMinutLen(record.data()));
}

TEST(MinutiaeRecord, EveryEntryIsChecked) {
  for (size_t bad = 0; bad < 50; ++bad) {
    std::vector<uint8_t> record(253);
    record[0] = 0x12;
    record[2] = 50;
    record[3 + 5 * bad + 4] = 127;
    EXPECT_EQ(kInvalid, GetMivoMinutLen(record.data())) << bad;
  }
}

TEST(MinutiaeRecord, EveryFieldReachesTheWorkingForm) {
  // 213 degrees, weight 77: 213 | 77 << 9 = 0x9AD5.
  const uint8_t record[] = {0x12, 0x84, 2,    0xFF, 0x00, 0xD5, 0x9A,
                            0xE4, 0x07, 0x80, 0x00, 0x00, 0x63};
  corvex::WorkingForm working;
  std::memset(&working, 0xAA, sizeof working);
  ASSERT_EQ(13, ConvertTransferFormat(&working, record));
  EXPECT_EQ(0x12, working.format_tag);
  EXPECT_EQ(0x84, working.record_class);
  EXPECT_EQ(2, working.count);
  EXPECT_EQ(2, working.minutiae.count);
  const corvex::Minutia& first = working.minutiae.entry[0];
  EXPECT_EQ(255, first.x);
  EXPECT_EQ(0, first.y);
  EXPECT_EQ(213, first.direction);
  EXPECT_EQ(77, first.weight);
  EXPECT_EQ(2, first.kind);
  EXPECT_EQ(100, first.auxiliary);
  const corvex::Minutia& second = working.minutiae.entry[1];
  EXPECT_EQ(7, second.x);
  EXPECT_EQ(128, second.y);
  EXPECT_EQ(0, second.direction);
  EXPECT_EQ(0, second.weight);
  EXPECT_EQ(1, second.kind);
  EXPECT_EQ(99, second.auxiliary);
  const corvex::Minutia& unused = working.minutiae.entry[2];
  EXPECT_EQ(0, unused.x + unused.direction + unused.weight + unused.kind);
}

TEST(MinutiaeRecord, ComparisonRefusesWhatIsNoRecord) {
  const uint8_t good[] = {0x12, 0x84, 0};
  const uint8_t bad[] = {0x13, 0x84, 0};
  EXPECT_EQ(0, MivoMatchFinger(good, good));
  EXPECT_EQ(kInvalid, MivoMatchFinger(good, bad));
  EXPECT_EQ(kInvalid, MivoMatchFinger(bad, good));
  EXPECT_EQ(kInvalid, MivoMatchFinger(nullptr, good));
  EXPECT_EQ(kInvalid, MivoMatchFinger(good, nullptr));
}

}  // namespace
