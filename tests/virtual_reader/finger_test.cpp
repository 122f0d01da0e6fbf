// Fingers: synthetic ones behave like real ones, files are read as they are.
#include <gtest/gtest.h>

#include <string>

#include "MvMatch/MvMatch.h"
#include "virtual_reader/angle.h"
#include "virtual_reader/record_file.h"
#include "virtual_reader/synthetic_finger.h"

namespace {

using corvex::vreader::Bytes;
using corvex::vreader::CheckValue;
using corvex::vreader::Cosine;
using corvex::vreader::Direction;
using corvex::vreader::FingerBook;
using corvex::vreader::kUnit;
using corvex::vreader::ParseRecords;
using corvex::vreader::Sine;
using corvex::vreader::SyntheticRecord;

constexpr uint32_t kFingers = 40;

int Score(const Bytes& first, const Bytes& second) {
  return MivoMatchFinger(first.data(), second.data());
}

TEST(SyntheticFinger, IsAPlainRecordOfAUsualSize) {
  for (uint32_t finger = 1; finger <= kFingers; ++finger) {
    const Bytes record = SyntheticRecord(finger, 1);
    EXPECT_EQ(static_cast<int>(record.size()), GetMivoMinutLen(record.data()));
    EXPECT_EQ(0, record[1]);
    EXPECT_GE(record[2], 25) << finger;
    EXPECT_LE(record[2], 50) << finger;
  }
}

TEST(SyntheticFinger, AnyTwoOfThreePressesAreGoodEnoughToEnrol) {
  for (uint32_t finger = 1; finger <= kFingers; ++finger) {
    const Bytes presses[] = {SyntheticRecord(finger, 1),
                             SyntheticRecord(finger, 2),
                             SyntheticRecord(finger, 3)};
    EXPECT_NE(presses[0], presses[1]);
    EXPECT_GT(Score(presses[0], presses[1]), 35) << finger;
    EXPECT_GT(Score(presses[0], presses[2]), 35) << finger;
    EXPECT_GT(Score(presses[1], presses[2]), 35) << finger;
  }
}

TEST(SyntheticFinger, AFreshPressMatchesAndAnotherFingerDoesNot) {
  int clear_matches = 0;
  for (uint32_t enrolled = 1; enrolled <= kFingers; ++enrolled) {
    const Bytes record = SyntheticRecord(enrolled, 1);
    clear_matches += Score(record, SyntheticRecord(enrolled, 4)) > 45 ? 1 : 0;
    for (uint32_t other = 1; other <= kFingers; ++other) {
      if (other == enrolled) continue;
      EXPECT_LT(Score(record, SyntheticRecord(other, 4)), 30)
          << enrolled << " and " << other;
    }
  }
  EXPECT_GE(clear_matches, 39);
}

TEST(SyntheticFinger, IsTheSameOnEveryMachine) {
  Bytes all;
  for (uint32_t finger = 1; finger <= kFingers; ++finger) {
    const Bytes record = SyntheticRecord(finger, 1000 + finger);
    all.insert(all.end(), record.begin(), record.end());
  }
  EXPECT_EQ(3155912002u, CheckValue(all));
}

TEST(Angle, IsRightInEveryQuarter) {
  EXPECT_EQ(kUnit / 2, Sine(30));
  EXPECT_EQ(-kUnit / 2, Cosine(480));
  EXPECT_EQ(-kUnit, Sine(-90));
  EXPECT_EQ(0, Direction(5, 0));
  EXPECT_EQ(135, Direction(-7, 7));
  EXPECT_EQ(207, Direction(-2, -1));
  EXPECT_EQ(297, Direction(1, -2));
}

TEST(Fingers, ASyntheticOneHasImpressionsWithoutEnd) {
  const FingerBook book;
  EXPECT_EQ(SyntheticRecord(7, 123), book.Find("7", 123));
  EXPECT_EQ(124, book.Following("7", 123));
  EXPECT_FALSE(book.Find("0", 1));
  EXPECT_FALSE(book.Find("7a", 1));
  EXPECT_FALSE(book.Find("-1", 1));
}

TEST(RecordFile, EachPlainLineIsAFinger) {
  const auto file = ParseRecords("# one, two\n120001\n\r\nEgAC\r\nEgA=");
  EXPECT_TRUE(file.errors.empty());
  EXPECT_EQ((Bytes{0x12, 0x00, 0x01}), file.book.Find("1", 1));
  EXPECT_EQ((Bytes{0x12, 0x00, 0x02}), file.book.Find("2", 1));
  EXPECT_EQ((Bytes{0x12, 0x00}), file.book.Find("3", 1));
  EXPECT_FALSE(file.book.Find("4", 1));
  EXPECT_EQ(1, file.book.Following("1", 1));
}

TEST(RecordFile, ColumnsNameFingersAndImpressions) {
  const auto file = ParseRecords(
      "db\t101\t1\t11\n"
      "db\t101\t5\t15\n"
      "db\tleft\t1\t21\n");
  EXPECT_TRUE(file.errors.empty());
  EXPECT_EQ(Bytes{0x11}, file.book.Find("1", 0));
  EXPECT_EQ(Bytes{0x15}, file.book.Find("1", 5));
  EXPECT_EQ(Bytes{0x21}, file.book.Find("db/left", 1));
  EXPECT_EQ(5, file.book.Following("1", 1));
  EXPECT_EQ(1, file.book.Following("1", 5));
}

TEST(RecordFile, ErrorsNameTheirLine) {
  const struct {
    std::string text;
    const char* error;
  } cases[] = {
      {"1200\n12 00", "line 2: the record is neither hexadecimal nor"},
      {"E===", "line 1: the record is neither hexadecimal nor"},
      {"\xFF\xFF\xFF\xFF", "line 1: the record is neither hexadecimal nor"},
      {"a\tb\t11", "line 1: expected one column or four, not 3"},
      {"a\tb\t0\t11", "line 1: '0' is no impression"},
      {std::string(2050, '0'), "line 1: a record of 1025 bytes, more than"},
      {"# nothing\n", "holds no record"},
  };
  for (const auto& c : cases) {
    const auto file = ParseRecords(c.text);
    ASSERT_FALSE(file.errors.empty()) << c.text;
    EXPECT_EQ(0u, file.errors[0].find(c.error)) << file.errors[0];
  }
}

}  // namespace
