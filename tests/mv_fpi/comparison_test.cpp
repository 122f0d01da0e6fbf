#include <gtest/gtest.h>

#include "call_fixture.h"
#include "mv_fpi.h"
#include "mv_loadso/entry_points.h"

namespace {

int Match(const std::string& first, const std::string& second, int level) {
  return FG_FpMatch(first.c_str(), second.c_str(), level);
}

// Scores found by independent implementations; each threshold and the number
// above it are among them.
TEST(FpMatch, EveryLevelDecidesByTheGoldenScore) {
  const int kThresholds[] = {0, 30, 32, 36, 40, 45};
  for (const auto& row : support::ReadTestData("golden_match.tsv")) {
    // Padded: the text of a record without minutiae alone is too short.
    const support::Bytes a = support::FromHex(row[2], 6);
    const support::Bytes b = support::FromHex(row[3], 6);
    const bool plain = a[0] == 0x12 && a[1] < 0x80 && b[0] == 0x12;
    if (!plain || b[1] >= 0x80) continue;
    const int score = std::stoi(row[0]);
    ASSERT_EQ(score < 0 ? -8 : score, Match(TextOf(a), TextOf(b), 0));
    for (int level = 1; level <= 5; ++level) {
      ASSERT_EQ(score > kThresholds[level] ? 0 : -8,
                Match(TextOf(a), TextOf(b), level))
          << "score " << score << " at level " << level;
    }
  }
}

TEST(FpMatch, AMalformedTextMatchesNothing) {
  const std::string empty = "EgAA";  // a record without minutiae
  const std::string longest = empty + std::string(1019, 'A');
  const std::pair<std::string, int> kCases[] = {
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
  for (const auto& [text, score] : kCases) {
    EXPECT_EQ(score, Match(text, "EgAAAA", 0)) << text;
    EXPECT_EQ(score, Match("EgAAAA", text, 0)) << text;
    EXPECT_EQ(-8, Match(text, "EgAAAA", 1)) << text;
  }
  // Arguments are checked before records.
  EXPECT_EQ(-1, FG_FpMatch(nullptr, "EgAA", 0));
  EXPECT_EQ(-1, FG_FpMatch("EgAA", nullptr, 0));
  EXPECT_EQ(-1, Match("EgAA", "EgAA", 6));
  EXPECT_EQ(-1, Match("EgAA", "EgAA", -1));
}

int32_t g_score;

TEST(FpMatch, OneDualFeatureRecordSendsBothToTheLibrary) {
  constexpr char kPlain[] = "EgYDAAAA";   // 12 06 03
  constexpr char kDual88[] = "EogBAAAA";  // 12 88 01
  constexpr char kDual83[] = "EoMCAAAA";  // 12 83 02
  EXPECT_EQ(-98, Match(kDual88, kPlain, 0));
  EXPECT_EQ(-98, Match(kPlain, kDual83, 5));
  InstallLibrary(&g_score);
  MvViewMatch = [](const uint8_t* first, const uint8_t* second, int32_t zero,
                   int32_t also_zero) {
    return first[2] * 100 + second[2] * 10 + zero + also_zero;
  };
  EXPECT_EQ(310, Match(kDual88, kPlain, 0));  // in reverse order
  EXPECT_EQ(230, Match(kPlain, kDual83, 0));
  EXPECT_EQ(0, Match(kPlain, kPlain, 0));  // not sent
  MvViewMatch = [](const uint8_t*, const uint8_t*, int32_t, int32_t) {
    return g_score;
  };
  const int kThresholds[] = {0, 38, 40, 45, 50, 55};
  for (int level = 1; level <= 5; ++level) {
    g_score = kThresholds[level];
    EXPECT_EQ(-8, Match(kDual88, kDual88, level)) << level;
    ++g_score;
    EXPECT_EQ(0, Match(kDual88, kDual88, level)) << level;
  }
  g_score = -110;  // unchecked
  EXPECT_EQ(-110, Match(kDual88, kDual88, 0));
  RemoveLibrary();
}

}  // namespace
