#include <gtest/gtest.h>

#include <map>
#include <string>

#include "mv_base/base64.h"
#include "mv_base/record_kind.h"
#include "mv_fpi.h"
#include "support/tab_file.h"

namespace {

std::string Text(const support::Bytes& record) {
  const auto n = static_cast<int32_t>(record.size());
  std::string text(static_cast<size_t>(Base64Length(n)) + 1, '\0');
  EncodeB64(text.data(), record.data(), n);
  text.pop_back();
  return text;
}

// Scores found by independent implementations, through the exported call.
TEST(FpMatch, EveryLevelDecidesByTheGoldenScore) {
  const int kThresholds[] = {0, 30, 32, 36, 40, 45};
  std::map<int, int> seen;
  for (const auto& row : support::ReadTestData("golden_match.tsv")) {
    // Padded: the text of a record without minutiae alone is too short.
    const support::Bytes a = support::FromHex(row[2], 6);
    const support::Bytes b = support::FromHex(row[3], 6);
    if (a[0] != 0x12 || b[0] != 0x12) continue;
    if (cx_chkmut(a.data()) > 0 || cx_chkmut(b.data()) > 0) continue;
    const int score = std::stoi(row[0]);
    const std::string first = Text(a);
    const std::string second = Text(b);
    ++seen[score];
    ASSERT_EQ(score < 0 ? -8 : score,
              FG_FpMatch(first.c_str(), second.c_str(), 0));
    for (int level = 1; level <= 5; ++level) {
      ASSERT_EQ(score > kThresholds[level] ? 0 : -8,
                FG_FpMatch(first.c_str(), second.c_str(), level))
          << "score " << score << " at level " << level;
    }
  }
  for (int level = 1; level <= 5; ++level) {
    EXPECT_GT(seen[kThresholds[level]], 0);
    EXPECT_GT(seen[kThresholds[level] + 1], 0);
  }
  EXPECT_GT(seen[-110], 0);
}

TEST(FpMatch, ArgumentsAreCheckedBeforeRecords) {
  EXPECT_EQ(-1, FG_FpMatch(nullptr, "EgAA", 0));
  EXPECT_EQ(-1, FG_FpMatch("EgAA", nullptr, 0));
  EXPECT_EQ(-1, FG_FpMatch("EgAAA", "EgAAA", 6));
  EXPECT_EQ(-1, FG_FpMatch("EgAAA", "EgAAA", -1));
}

TEST(FpMatch, AMalformedTextIsNoMatchAtEveryLevel) {
  const std::string empty = "EgAA";  // a record without minutiae
  const std::string longest = empty + std::string(1019, 'A');
  const struct {
    std::string text;
    int score;
  } kCases[] = {
      {empty, -8},          // 4 characters
      {empty + "A", 0},     // 5
      {empty + "****", 0},  // rubbish behind the record
      {longest, 0},         // 1023
      {longest + "A", -8},  // 1024
      {"", -8},
      {"FgAAAA", -8},  // not the first letter of any record
      {"EQAAAA", -8},  // another tag
      {"EgAz", -8},
      {"EgAzAAAA", -8},  // 51 minutiae
      {"E****", -8},
      {"EgABICAAyg==", -8},  // weight 101
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(c.score, FG_FpMatch(c.text.c_str(), "EgAAAA", 0)) << c.text;
    EXPECT_EQ(c.score, FG_FpMatch("EgAAAA", c.text.c_str(), 0)) << c.text;
    EXPECT_EQ(-8, FG_FpMatch(c.text.c_str(), "EgAAAA", 1)) << c.text;
  }
}

TEST(FpMatch, DualFeatureRecordsNeedTheAlgorithmLibrary) {
  const std::string dual = Text({0x12, 0x88, 0x00, 0x01});
  const std::string plain = Text({0x12, 0x00, 0x00, 0x00});
  EXPECT_EQ(-98, FG_FpMatch(dual.c_str(), plain.c_str(), 0));
  EXPECT_EQ(-98, FG_FpMatch(plain.c_str(), dual.c_str(), 3));
}

}  // namespace
