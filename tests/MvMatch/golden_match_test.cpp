// Results that implementations written independently of this one agree on.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "MvMatch/MvMatch.h"
#include "support/tab_file.h"

namespace {

// A record that is shorter than its count says reads as zero beyond its end.
constexpr size_t kLongestRecord = 253;

void ExpectScores(const std::vector<support::Fields>& lines) {
  for (size_t i = 0; i < lines.size(); ++i) {
    ASSERT_EQ(4u, lines[i].size()) << "line " << i + 1;
    const auto first = support::FromHex(lines[i][2], kLongestRecord);
    const auto second = support::FromHex(lines[i][3], kLongestRecord);
    EXPECT_EQ(std::stoi(lines[i][0]),
              MivoMatchFinger(first.data(), second.data()))
        << "line " << i + 1 << ", " << lines[i][1];
  }
}

TEST(GoldenMatch, EveryScoreOfGeneratedRecordsIsEqual) {
  const auto lines = support::ReadTestData("golden_match.tsv");
  ASSERT_EQ(800u, lines.size());
  ExpectScores(lines);
}

// Real fingers are personal data and stay outside the source tree.
TEST(GoldenMatch, EveryScoreOfRealFingersIsEqual) {
  const char* const other = std::getenv("MV_REAL_DATA_DIR");
  const std::string directory = other != nullptr ? other : MV_REAL_DATA_DIR;
  const auto lines = support::ReadTabFile(directory + "/golden_match_real.tsv");
  if (lines.empty()) {
    GTEST_SKIP() << "no golden_match_real.tsv in " << directory
                 << "; MV_REAL_DATA_DIR names another directory";
  }
  ExpectScores(lines);
}

}  // namespace
