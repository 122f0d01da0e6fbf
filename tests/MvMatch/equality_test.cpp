// The fast comparison against the plain one, on generated pairs. The pairs are
// split into shards that run side by side; MV_MATCH_PAIRS asks for another
// number of them.
#include <gtest/gtest.h>

#include <cstdlib>

#include "MvMatch/MvMatch.h"
#include "reference/plain_matcher.h"
#include "reference/record_generator.h"
#include "support/tab_file.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int64_t kUsualPairs = 4000;  // each takes ten times as long
#else
constexpr int64_t kUsualPairs = 50000;
#endif
constexpr int32_t kShards = 8;

class Equality : public testing::TestWithParam<int32_t> {};

TEST_P(Equality, FastAndPlainScoresAreTheSameUpToEveryLimit) {
  reference::RecordGenerator generator(static_cast<uint32_t>(GetParam()));
  const char* const wanted = std::getenv("MV_MATCH_PAIRS");
  const int64_t pairs =
      (wanted != nullptr ? std::atoll(wanted) : kUsualPairs) / kShards;
  corvex::plain::LimitsMet met;
  int64_t matches = 0;
  for (int64_t i = 0; i < pairs; ++i) {
    const auto [first, second] = generator.NextPair();
    const int32_t expected =
        corvex::plain::MivoMatchFinger(first.data(), second.data(), &met);
    ASSERT_EQ(expected, MivoMatchFinger(first.data(), second.data()))
        << "pair " << i << "\n"
        << support::ToHex(first.data(), first.size()) << "\n"
        << support::ToHex(second.data(), second.size());
    matches += expected > 0 ? 1 : 0;
  }
  EXPECT_GT(met.full_lengths, pairs / 1000);
  EXPECT_GT(met.full_candidates, pairs / 1000);
  EXPECT_GT(met.full_kept, pairs / 1000);
  EXPECT_GT(matches, pairs / 10);
}

INSTANTIATE_TEST_SUITE_P(Shard, Equality, testing::Range(0, kShards));

}  // namespace
