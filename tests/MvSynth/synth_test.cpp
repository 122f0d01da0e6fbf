#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "MvMatch/MvMatch.h"
#include "MvSynth/MvSynth.h"
#include "support/tab_file.h"

namespace {

constexpr int32_t kInvalid = -110;
constexpr size_t kSlotBytes = 512;

std::vector<uint8_t> Slots(const std::vector<support::Bytes>& records) {
  std::vector<uint8_t> slots(records.size() * kSlotBytes);
  for (size_t i = 0; i < records.size(); ++i) {
    std::copy(records[i].begin(), records[i].end(),
              slots.begin() + static_cast<std::ptrdiff_t>(i * kSlotBytes));
  }
  return slots;
}

struct Outputs {
  uint8_t record[253];
  uint8_t index;
  uint16_t length;
};

Outputs Untouched() {
  Outputs outputs;
  std::memset(&outputs, 0xAA, sizeof outputs);
  return outputs;
}

int32_t Synthesize(const std::vector<uint8_t>& slots, Outputs* out) {
  return MivoSynthMinut(slots.data(),
                        static_cast<int32_t>(slots.size() / kSlotBytes),
                        out->record, &out->index, &out->length);
}

void ExpectUntouched(const Outputs& outputs) {
  const Outputs untouched = Untouched();
  EXPECT_EQ(0, std::memcmp(&untouched, &outputs, sizeof outputs));
}

TEST(Synth, EveryGoldenChoiceIsEqual) {
  const auto lines = support::ReadTestData("golden_synth.tsv");
  ASSERT_EQ(250u, lines.size());
  for (size_t i = 0; i < lines.size(); ++i) {
    SCOPED_TRACE("line " + std::to_string(i + 1));
    ASSERT_EQ(4u, lines[i].size());
    std::vector<support::Bytes> records;
    for (const auto& hex : support::Split(lines[i][3], ' ')) {
      records.push_back(support::FromHex(hex));
    }
    Outputs out = Untouched();
    EXPECT_EQ(std::stoi(lines[i][0]), Synthesize(Slots(records), &out));
    if (lines[i][1].empty()) {
      ExpectUntouched(out);
      continue;
    }
    EXPECT_EQ(std::stoi(lines[i][1]), out.index);
    const auto chosen = support::FromHex(lines[i][2]);
    ASSERT_EQ(chosen.size(), out.length);
    EXPECT_TRUE(std::equal(chosen.begin(), chosen.end(), out.record));
  }
}

// Four minutiae, every pair of them a stick; moved as a whole by `dx`.
support::Bytes Square(uint8_t dx) {
  support::Bytes record = {0x12, 0x84, 4};
  const uint8_t kCorners[][4] = {{10, 10, 20, 50},
                                 {110, 15, 90, 50},
                                 {20, 90, 200, 51},
                                 {140, 120, 7, 50}};
  for (const auto& corner : kCorners) {
    record.push_back(static_cast<uint8_t>(corner[0] + dx));
    record.push_back(corner[1]);
    record.push_back(corner[2]);
    record.push_back(static_cast<uint8_t>(corner[3] << 1));
    record.push_back(0);
  }
  return record;
}

support::Bytes WithOneMore(support::Bytes record) {
  ++record[2];
  record.insert(record.end(), {10, 10, 0, 0, 0});
  return record;
}

TEST(Synth, IdenticalCapturesChooseTheFirst) {
  Outputs out = Untouched();
  const int32_t score =
      Synthesize(Slots({Square(0), Square(0), Square(0)}), &out);
  EXPECT_EQ(MivoMatchFinger(Square(0).data(), Square(0).data()), score);
  EXPECT_GT(score, 0);
  EXPECT_EQ(0, out.index);
  EXPECT_EQ(23, out.length);
}

TEST(Synth, TheRicherCaptureOfTheBestPairIsChosen) {
  const support::Bytes empty = {0x12, 0x84, 0};
  Outputs out = Untouched();
  EXPECT_EQ(0, Synthesize(Slots({empty, Square(0), Square(3)}), &out));
  EXPECT_EQ(1, out.index);
  const auto slots = Slots({empty, Square(0), WithOneMore(Square(3))});
  EXPECT_EQ(0, Synthesize(slots, &out));
  EXPECT_EQ(2, out.index);
  EXPECT_EQ(28, out.length);
  EXPECT_EQ(0, std::memcmp(&slots[2 * kSlotBytes], out.record, 28));
}

TEST(Synth, StrangersScoreZeroAndChooseTheFirst) {
  const support::Bytes empty = {0x12, 0x84, 0};
  Outputs out = Untouched();
  EXPECT_EQ(0, Synthesize(Slots({empty, Square(0)}), &out));
  EXPECT_EQ(0, out.index);
  EXPECT_EQ(3, out.length);
}

TEST(Synth, ASingleCaptureIsItsOwnTemplate) {
  Outputs out = Untouched();
  EXPECT_EQ(100, Synthesize(Slots({Square(0)}), &out));
  EXPECT_EQ(0, out.index);
  EXPECT_EQ(23, out.length);
}

TEST(Synth, BadArgumentsLeaveTheOutputsUntouched) {
  const auto good = Slots(std::vector<support::Bytes>(11, Square(0)));
  const auto bad = Slots({Square(0), {0x13}, Square(0)});
  const struct {
    const char* what;
    const uint8_t* captures;
    int32_t count;
  } kCases[] = {{"none", good.data(), 0},
                {"negative", good.data(), -1},
                {"too many", good.data(), 11},
                {"null", nullptr, 3},
                {"second capture invalid", bad.data(), 3}};
  for (const auto& c : kCases) {
    Outputs out = Untouched();
    EXPECT_EQ(kInvalid, MivoSynthMinut(c.captures, c.count, out.record,
                                       &out.index, &out.length))
        << c.what;
    ExpectUntouched(out);
  }
}

TEST(Synth, EveryOutputMayBeLeftOut) {
  const auto slots = Slots(std::vector<support::Bytes>(10, Square(0)));
  EXPECT_GT(MivoSynthMinut(slots.data(), 10, nullptr, nullptr, nullptr), 0);
}

}  // namespace
