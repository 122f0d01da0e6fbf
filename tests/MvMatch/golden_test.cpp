// Scores that implementations written independently of this one agree on, from
// one thread and from many.
#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "MvMatch/MvMatch.h"
#include "MvMatch/thread_matchers.h"
#include "MvSynth/MvSynth.h"
#include "support/memory_limit.h"
#include "support/tab_file.h"

namespace {

struct Case {
  int32_t score;
  support::Bytes first;
  support::Bytes second;

  bool ComparesRight() const {
    return MivoMatchFinger(first.data(), second.data()) == score;
  }
  bool EnrolsRight() const {
    uint8_t slots[2][corvex::kCaptureSlotBytes];
    std::copy(first.begin(), first.end(), slots[0]);
    std::copy(second.begin(), second.end(), slots[1]);
    return MivoSynthMinut(slots[0], 2, nullptr, nullptr, nullptr) == score;
  }
};
using Cases = std::vector<Case>;

// A record that is shorter than its count says reads as zero beyond its end.
Cases CasesOf(const std::vector<support::Fields>& lines) {
  Cases cases;
  for (const support::Fields& line : lines) {
    cases.push_back({std::stoi(line.at(0)), support::FromHex(line.at(2), 253),
                     support::FromHex(line.at(3), 253)});
  }
  return cases;
}

void ExpectRight(const Cases& cases) {
  for (size_t i = 0; i < cases.size(); ++i) {
    EXPECT_TRUE(cases[i].ComparesRight()) << "line " << i + 1;
    EXPECT_TRUE(cases[i].EnrolsRight()) << "line " << i + 1;
  }
}

class GoldenMatch : public testing::Test {
 protected:
  GoldenMatch() : cases_(CasesOf(support::ReadTestData("golden_match.tsv"))) {
    EXPECT_EQ(800u, cases_.size());
  }

  void RunSixteenThreads() const {
    std::vector<std::thread> threads;
    for (int32_t i = 0; i < 16; ++i) {
      threads.emplace_back([this] { ExpectRight(cases_); });
    }
    for (std::thread& thread : threads) thread.join();
  }

  template <typename Body>
  static void ExpectTrueInChild(Body body) {
    const pid_t child = fork();
    if (child == 0) _exit(body() ? 0 : 1);
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
  }

  const Cases cases_;
};

TEST_F(GoldenMatch, EveryScoreIsEqual) { ExpectRight(cases_); }

// Real fingers are personal data and stay outside the source tree.
TEST_F(GoldenMatch, EveryScoreOfRealFingersIsEqual) {
  const char* const other = std::getenv("MV_REAL_DATA_DIR");
  const std::string directory = other != nullptr ? other : MV_REAL_DATA_DIR;
  const auto lines = support::ReadTabFile(directory + "/golden_match_real.tsv");
  if (lines.empty()) {
    GTEST_SKIP() << "no golden_match_real.tsv in " << directory
                 << "; MV_REAL_DATA_DIR names another directory";
  }
  ExpectRight(CasesOf(lines));
}

// Hosts start threads with stacks as small as the system allows.
TEST_F(GoldenMatch, ThreadsWithSmallStacksScoreAlikeAndLeaveNothingBehind) {
  pthread_attr_t small;
  pthread_attr_init(&small);
  const int64_t bytes = std::max(64 * 1024L, sysconf(_SC_THREAD_STACK_MIN));
  pthread_attr_setstacksize(&small, static_cast<size_t>(bytes));
  ASSERT_EQ(0, pthread_setattr_default_np(&small));
  RunSixteenThreads();
  const size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
  RunSixteenThreads();
  EXPECT_LT(mallinfo2().uordblks + mallinfo2().hblkhd,
            before + corvex::kMaxThreadBytes);
}

TEST_F(GoldenMatch, AForkedChildCompares) {
  std::thread other([this] { ExpectRight(cases_); });
  for (int32_t i = 0; i < 20; ++i) {
    ExpectTrueInChild([this] { return cases_[0].ComparesRight(); });
  }
  other.join();
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// The child has a matcher for comparisons, but none for enrolments.
TEST_F(GoldenMatch, WithoutMemoryEveryScoreIsEqual) {
  if (!support::MemoryHasLimits()) GTEST_SKIP() << "an emulator sets none";
  EXPECT_TRUE(cases_[0].ComparesRight());
  ExpectTrueInChild([this] {
    const struct rlimit none = {1, 1};
    setrlimit(RLIMIT_AS, &none);
    while (malloc(sizeof(corvex::FingerMatcher)) != nullptr) {
    }
    ExpectRight(cases_);
    return !HasFailure();
  });
}
#endif

}  // namespace
