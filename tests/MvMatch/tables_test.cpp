// What is looked up, against what the method computes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <vector>

#include "MvMatch/MvMatch.h"
#include "MvMatch/angle_rows.h"
#include "MvMatch/finger_matcher.h"
#include "MvMatch/pairing_kernels.h"
#include "MvMatch/print_sticks.h"
#include "MvMatch/processor.h"
#include "MvMatch/segment_table.h"
#include "reference/plain_matcher.h"
#include "reference/record_generator.h"

namespace {

// A print of two minutiae, that far apart.
corvex::MinutiaeVector TwoMinutiae(int32_t dx, int32_t dy) {
  corvex::MinutiaeVector minutiae{};
  minutiae.count = 2;
  minutiae.entry[dx < 0 ? 0 : 1].x = static_cast<int16_t>(std::abs(dx));
  minutiae.entry[dy < 0 ? 1 : 0].y = static_cast<int16_t>(std::abs(dy));
  return minutiae;
}

TEST(Sticks, EveryDirectionAndLengthIsTheMethods) {
  const auto pairs = std::make_unique<corvex::MinutiaPairs>();
  for (int32_t dx = -255; dx <= 255; ++dx) {
    for (int32_t dy = -255; dy <= 255; ++dy) {
      ASSERT_EQ(1, corvex::FindSticks(TwoMinutiae(dx, dy), 50, pairs.get()));
      const auto length = static_cast<int32_t>(
          corvex::plain::_Sqrt(static_cast<uint32_t>(dx * dx + dy * dy)));
      const corvex::StickTraits& stick = pairs->traits[0];
      if (length < 35 || length > 235) {
        ASSERT_EQ(corvex::kNoStick, stick.length_code) << dx << ' ' << dy;
        continue;
      }
      ASSERT_EQ(length, stick.length_code + 35) << dx << ' ' << dy;
      ASSERT_EQ(corvex::plain::StickDirection(dx, dy), stick.direction)
          << dx << ' ' << dy;
    }
  }
}

TEST(Sticks, AFullLengthTakesNoMore) {
  corvex::MinutiaeVector minutiae{};
  minutiae.count = 50;
  for (int32_t i = 0; i < 25; ++i) minutiae.entry[i].x = 40;
  const auto pairs = std::make_unique<corvex::MinutiaPairs>();
  ASSERT_EQ(1225, corvex::FindSticks(minutiae, 50, pairs.get()));
  int32_t sticks = 0;
  for (int32_t i = 0; i < 1225; ++i) {
    if (pairs->traits[i].length_code == corvex::kNoStick) continue;
    EXPECT_EQ(sticks < 25 ? 0 : 1, pairs->ends[i].first);
    ++sticks;
  }
  EXPECT_EQ(50, sticks);
}

#if defined(__x86_64__)
TEST(WideRegisters, GiveTheSameRowsAndHits) {
  if (!corvex::HasAvx2()) GTEST_SKIP() << "this processor has no AVX2";
  struct Space {
    corvex::FirstPrintScratch scratch;
    corvex::FirstPrint first;
    corvex::SecondPrint second;
    corvex::Hits portable;
    corvex::Hits wide;
  };
  const std::unique_ptr<Space> space(new Space());
  reference::RecordGenerator generator(5);
  for (int32_t i = 0; i < 200; ++i) {
    const auto finger = generator.NextFinger();
    corvex::WorkingForm a;
    corvex::WorkingForm b;
    ASSERT_NE(0, ConvertTransferFormat(&a, finger.data()));
    ASSERT_NE(0, ConvertTransferFormat(&b, generator.Pressed(finger).data()));
    LoadFirst(a.minutiae, &space->scratch, &space->first);
    LoadSecond(b.minutiae, &space->second);
    const auto rows_end = space->first.rows + 361 * space->first.row_bytes;
    const std::vector<uint8_t> rows(space->first.rows, rows_end);
    MakeRowsPortable(&space->scratch.rows, &space->first);
    ASSERT_TRUE(std::equal(rows.begin(), rows.end(), space->first.rows));
    MakeRowsAvx2(&space->scratch.rows, &space->first);
    ASSERT_TRUE(std::equal(rows.begin(), rows.end(), space->first.rows));
    if (!space->first.narrow) continue;
    const int32_t pairs = std::min(space->second.pair_count, 128);
    space->portable.count = space->wide.count = 0;
    CollectNarrowPortable(space->first, space->second, 0, pairs,
                          &space->portable);
    CollectNarrowAvx2(space->first, space->second, 0, pairs, &space->wide);
    ASSERT_EQ(space->portable.count, space->wide.count);
    std::map<uint32_t, uint64_t> expected;
    for (int32_t k = 0; k < space->portable.count; ++k) {
      expected[space->portable.place[k]] = space->portable.word[k];
    }
    for (int32_t k = 0; k < space->wide.count; ++k) {
      ASSERT_EQ(expected[space->wide.place[k]], space->wide.word[k]);
    }
  }
}
#endif

}  // namespace
