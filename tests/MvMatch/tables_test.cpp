// What is looked up, against what the plain comparison computes; what wide
// registers do, against what narrow ones do.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <vector>

#include "MvMatch/angle_rows.h"
#include "MvMatch/finger_matcher.h"
#include "MvMatch/pairing_kernels.h"
#include "MvMatch/processor.h"
#include "MvMatch/trait_differences.h"
#include "reference/plain_matcher.h"
#include "reference/record_generator.h"

namespace {

TEST(Sticks, EveryLengthAndDirectionIsThePlainOnes) {
  const auto pairs = std::make_unique<corvex::MinutiaPairs>();
  corvex::plain::LimitsMet met;
  for (int32_t dx = -255; dx <= 255; ++dx) {
    for (int32_t dy = -255; dy <= 255; ++dy) {
      corvex::MinutiaeVector print{2, {}};
      print.entry[dx < 0 ? 0 : 1].x = static_cast<int16_t>(std::abs(dx));
      print.entry[dy < 0 ? 0 : 1].y = static_cast<int16_t>(std::abs(dy));
      ASSERT_EQ(1, corvex::FindSticks(print, 50, pairs.get()));
      const corvex::StickTraits& stick = pairs->traits[0];
      const auto plain = corvex::plain::GetBeteenStick(
          {print.entry[0], print.entry[1]}, true, &met);
      const bool is_stick = stick[corvex::kLengthCode] != corvex::kNoStick;
      ASSERT_EQ(plain.size(), is_stick ? 1u : 0u) << dx << ' ' << dy;
      if (!is_stick) continue;
      ASSERT_EQ(plain[0].length, stick[corvex::kLengthCode] + 35)
          << dx << ' ' << dy;
      ASSERT_EQ(plain[0].direction % 360, stick[corvex::kDirection])
          << dx << ' ' << dy;
    }
  }
}

#if defined(__x86_64__)
struct Prints {
  corvex::FirstPrintScratch scratch;
  corvex::FirstPrint first;
  corvex::SecondPrint second;
  corvex::Hits hits;

  std::vector<uint8_t> RowsBy(corvex::MakeRowsFn make) {
    make(&scratch.rows, &first);
    const uint8_t* const rows = first.rows.Data();
    return {rows, rows + corvex::kRows * first.row_bytes};
  }
  // Words by place, and where it stopped.
  std::map<uint32_t, uint64_t> HitsBy(corvex::CollectHitsFn collect) {
    hits.count = 0;
    const int32_t end = collect(first, first.bands, second, 0, &hits);
    std::map<uint32_t, uint64_t> found = {{UINT32_MAX, end}};
    for (int32_t i = 0; i < hits.count; ++i)
      found[hits.place[i]] = hits.word[i];
    return found;
  }
  // Squares of the differences where the hits begin.
  std::vector<uint16_t> SumsBy(corvex::CompareTraitsFn compare) {
    corvex::TraitDifferences d;
    const int32_t count = std::min(hits.count, d.kPairs) / 16 * 16;
    compare(first, second, hits.place, count, &d);
    return {d.square_sum, d.square_sum + count};
  }
};

corvex::MinutiaeVector VectorOf(const reference::Record& record) {
  corvex::WorkingForm working;
  ConvertTransferFormat(&working, record.data());
  return working.minutiae;
}

TEST(WideRegisters, GiveTheSameRowsHitsAndDifferences) {
  if (!corvex::HasAvx2()) GTEST_SKIP() << "this processor has no AVX2";
  const bool widest = corvex::HasAvx512();
  const auto prints = std::make_unique<Prints>();
  reference::RecordGenerator generator(5);
  for (int32_t i = 0; i < 400; ++i) {
    const auto [a, b] = generator.NextPair();
    LoadFirst(VectorOf(a), &prints->scratch, &prints->first);
    LoadSecond(VectorOf(b), &prints->second);
    const auto rows = prints->RowsBy(corvex::MakeRowsPortable);
    ASSERT_EQ(rows, prints->RowsBy(corvex::MakeRowsAvx2));
    if (widest) {
      ASSERT_EQ(rows, prints->RowsBy(corvex::MakeRowsAvx512));
    }
    const auto hits = prints->HitsBy(corvex::CollectHitsPortable);
    ASSERT_EQ(hits, prints->HitsBy(corvex::CollectHitsAvx2));
    if (widest) {
      ASSERT_EQ(hits, prints->HitsBy(corvex::CollectHitsAvx512));
    }
    ASSERT_EQ(prints->SumsBy(corvex::CompareTraitsPortable),
              prints->SumsBy(corvex::CompareTraitsAvx2));
  }
}
#endif

}  // namespace
