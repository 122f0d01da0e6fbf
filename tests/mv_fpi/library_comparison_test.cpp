// The driver as it is shipped, with a stand-in for the algorithm library
// beside it: loading, unloading, and comparison of dual-feature records.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "algorithm_double/driver_site.h"
#include "mv_fpi.h"
#include "support/temp_file.h"

namespace {

constexpr char kPlain[] = "EgYDAAAA";    // 12 06 03
constexpr char kDual88[] = "EogBAAAA";   // 12 88 01
constexpr char kDual83[] = "EoMCAAAA";   // 12 83 02
constexpr char kNotDual[] = "EoQBAAAA";  // 12 84 01

class LibraryComparison : public testing::Test {
 protected:
  void LoadDriver() {
    site_.Load();
    match_ = site_.Get<int(const char*, const char*, int)>("FG_FpMatch");
    ASSERT_NE(nullptr, match_);
  }

  void LoadDriverWithLibrary() {
    site_.InstallDouble();
    LoadDriver();
  }

  support::DriverSite site_{MV_DRIVER};
  int (*match_)(const char*, const char*, int) = nullptr;
};

TEST_F(LibraryComparison, AnUnloadedDriverIsGoneAndHasReleasedTheLibrary) {
  LoadDriverWithLibrary();
  EXPECT_TRUE(site_.IsMapped("libmv_fpi.so"));
  EXPECT_EQ(-8, match_(kPlain, kPlain, 1));
  EXPECT_EQ(0, match_(kDual83, kDual83, 1));
  site_.Unload();
  EXPECT_FALSE(site_.IsMapped("libmv_fpi.so"));
  EXPECT_FALSE(site_.IsMapped("libAlgoOrva64.so"));
  EXPECT_EQ(1, site_.CountCalls("MvViewDexit mine\n"));
}

TEST_F(LibraryComparison, OneDualRecordSendsBothInReverseOrder) {
  LoadDriverWithLibrary();
  EXPECT_EQ(60, match_(kDual83, kPlain, 0));
  EXPECT_EQ(60, match_(kPlain, kDual88, 0));
  EXPECT_EQ(1, site_.CountCalls("MvViewMatch 120603 128302 0 0 -> 60\n"));
  EXPECT_EQ(1, site_.CountCalls("MvViewMatch 128801 120603 0 0 -> 60\n"));
  match_(kPlain, kPlain, 0);
  match_(kPlain, kNotDual, 0);
  EXPECT_EQ(2, site_.CountCalls("MvViewMatch"));
}

TEST_F(LibraryComparison, TheScoreMustExceedTheLevelsThreshold) {
  LoadDriverWithLibrary();
  const int kThresholds[] = {38, 40, 45, 50, 55};
  for (int level = 1; level <= 5; ++level) {
    const int threshold = kThresholds[level - 1];
    site_.Script("score " + std::to_string(threshold));
    EXPECT_EQ(-8, match_(kDual83, kDual83, level)) << level;
    site_.Script("score " + std::to_string(threshold + 1));
    EXPECT_EQ(0, match_(kDual83, kDual83, level)) << level;
  }
}

TEST_F(LibraryComparison, LevelZeroReturnsTheScoreUnchecked) {
  LoadDriverWithLibrary();
  for (const int score : {-2147483647, -110, -8, 0, 100, 2147483647}) {
    site_.Script("score " + std::to_string(score));
    EXPECT_EQ(score, match_(kDual83, kDual83, 0));
  }
}

TEST_F(LibraryComparison, AMissingLibraryIsLookedForTwiceByEachCall) {
  LoadDriver();
  support::SwitchLogOn();
  EXPECT_EQ(-98, match_(kDual83, kDual83, 0));
  EXPECT_EQ(2, support::CountOf("打开算法库失败", support::DayLog()));
  EXPECT_EQ(-98, match_(kPlain, kDual83, 3));
  EXPECT_EQ(4, support::CountOf("打开算法库失败", support::DayLog()));
  EXPECT_NE(-98, match_(kPlain, kPlain, 0));
  EXPECT_EQ(4, support::CountOf("打开算法库失败", support::DayLog()));
}

TEST_F(LibraryComparison, ALibraryThatFailsIsMissing) {
  LoadDriver();
  site_.InstallDouble("without_MvViewMatch");
  EXPECT_EQ(-98, match_(kDual83, kDual83, 0));
  site_.InstallDouble();
  site_.Script("init -15");
  EXPECT_EQ(-98, match_(kDual83, kDual83, 0));
  EXPECT_EQ(6, site_.CountCalls("MvViewDinit -> -15\n"));
}

TEST_F(LibraryComparison, ALibraryThatComesLaterIsFoundAndThenKept) {
  LoadDriver();
  EXPECT_EQ(-98, match_(kDual83, kDual83, 0));
  site_.InstallDouble();
  EXPECT_EQ(60, match_(kDual83, kDual83, 0));
  site_.RemoveLibrary();
  EXPECT_EQ(60, match_(kDual83, kDual83, 0));
  EXPECT_EQ(1, site_.CountCalls("MvViewDinit"));
}

TEST_F(LibraryComparison, ManyThreadsMayNeedTheLibraryAtOnce) {
  LoadDriver();
  site_.InstallDouble();
  std::vector<int> scores(8, 0);
  std::vector<std::thread> threads;
  for (int& score : scores) {
    threads.emplace_back([&] { score = match_(kDual83, kDual83, 0); });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(std::vector<int>(8, 60), scores);
  EXPECT_EQ(1, site_.CountCalls("MvViewDinit"));
}

TEST_F(LibraryComparison, AMalformedTextNeedsNoLibrary) {
  LoadDriver();
  const std::string longest = "EoMC" + std::string(1019, 'A');
  EXPECT_EQ(-8, match_("EogB", kDual83, 0));  // four characters
  EXPECT_EQ(-98, match_(longest.c_str(), kPlain, 0));
  EXPECT_EQ(-8, match_((longest + "A").c_str(), kPlain, 0));
}

}  // namespace
