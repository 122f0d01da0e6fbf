#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "MvSynth/MvSynth.h"
#include "support/tab_file.h"

namespace {

using Slots = uint8_t[11][512];

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

void ExpectChoice(const uint8_t* captures, int32_t count, int32_t score,
                  const Outputs& expected) {
  Outputs out = Untouched();
  EXPECT_EQ(score, MivoSynthMinut(captures, count, out.record, &out.index,
                                  &out.length));
  EXPECT_EQ(0, std::memcmp(&expected, &out, sizeof out));
  EXPECT_EQ(score, MivoSynthMinut(captures, count, nullptr, nullptr, nullptr));
}

TEST(Synth, EveryGoldenChoiceIsEqual) {
  const auto lines = support::ReadTestData("golden_synth.tsv");
  ASSERT_EQ(250u, lines.size());
  for (const support::Fields& line : lines) {
    SCOPED_TRACE(line[3]);
    Slots slots = {};
    int32_t count = 0;
    for (const auto& hex : support::Split(line[3], ' ')) {
      const support::Bytes record = support::FromHex(hex);
      std::copy(record.begin(), record.end(), slots[count++]);
    }
    const support::Bytes chosen = support::FromHex(line[2]);
    Outputs expected = Untouched();
    std::copy(chosen.begin(), chosen.end(), expected.record);
    expected.index = static_cast<uint8_t>(std::stoi(line[1]));
    expected.length = static_cast<uint16_t>(chosen.size());
    ExpectChoice(slots[0], count, std::stoi(line[0]), expected);
  }
}

TEST(Synth, BadArgumentsLeaveTheOutputsUntouched) {
  Slots slots = {};
  for (auto& slot : slots) slot[0] = 0x12;
  for (const int32_t count : {-1, 0, 11}) {
    ExpectChoice(slots[0], count, -110, Untouched());
  }
  ExpectChoice(nullptr, 3, -110, Untouched());
  slots[1][0] = 0x13;
  ExpectChoice(slots[0], 3, -110, Untouched());
}

}  // namespace
