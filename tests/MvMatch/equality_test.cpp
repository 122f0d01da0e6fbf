// The fast comparison against the plain one, on generated pairs. The pairs are
// split into shards that run side by side; MV_MATCH_PAIRS asks for more of
// them than the usual 200,000.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "MvMatch/MvMatch.h"
#include "reference/plain_matcher.h"
#include "reference/record_generator.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int64_t kUsualPairs = 8000;  // each takes ten times as long
#else
constexpr int64_t kUsualPairs = 200000;
#endif
constexpr int32_t kShards = 8;

int64_t PairsOfShard() {
  const char* const wanted = std::getenv("MV_MATCH_PAIRS");
  return (wanted != nullptr ? std::atoll(wanted) : kUsualPairs) / kShards;
}

std::string Hex(const reference::Record& record) {
  std::string text;
  for (const uint8_t byte : record) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

class Equality : public testing::TestWithParam<int32_t> {};

TEST_P(Equality, FastAndPlainScoresAreTheSameUpToEveryLimit) {
  reference::RecordGenerator generator(static_cast<uint32_t>(GetParam()));
  const auto plain = std::make_unique<corvex::plain::Matcher>();
  const int64_t pairs = PairsOfShard();
  int64_t matches = 0;
  for (int64_t i = 0; i < pairs; ++i) {
    const auto [first, second] = generator.NextPair();
    const int32_t expected =
        plain->MivoMatchFinger(first.data(), second.data());
    ASSERT_EQ(expected, MivoMatchFinger(first.data(), second.data()))
        << "pair " << i << "\n"
        << Hex(first) << "\n"
        << Hex(second);
    matches += expected > 0 ? 1 : 0;
  }
  const corvex::plain::LimitCounts& met = plain->limits_met();
  EXPECT_GT(met.full_buckets, pairs / 1000);
  EXPECT_GT(met.full_candidates, pairs / 1000);
  EXPECT_GT(met.full_kept, pairs / 1000);
  EXPECT_GT(matches, pairs / 10);
  RecordProperty("pairs", std::to_string(pairs));
}

INSTANTIATE_TEST_SUITE_P(Shard, Equality, testing::Range(0, kShards));

}  // namespace
