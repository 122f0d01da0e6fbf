#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <thread>
#include <vector>

#include "MvMatch/MvMatch.h"
#include "MvMatch/thread_matchers.h"
#include "MvSynth/MvSynth.h"
#include "reference/record_generator.h"

namespace {

struct Case {
  reference::RecordPair pair;
  int32_t score;
};

const std::vector<Case>& Cases() {
  static const std::vector<Case> cases = [] {
    std::vector<Case> made;
    reference::RecordGenerator generator(3);
    for (int32_t i = 0; i < 300; ++i) {
      const auto finger = generator.NextFinger();
      made.push_back({{finger, generator.Pressed(finger)}, 0});
      made.push_back({generator.NextPair(), 0});
    }
    for (Case& c : made) {
      c.score = MivoMatchFinger(c.pair.first.data(), c.pair.second.data());
    }
    return made;
  }();
  return cases;
}

int32_t CountWrong() {
  int32_t wrong = 0;
  for (const Case& c : Cases()) {
    const int32_t score =
        MivoMatchFinger(c.pair.first.data(), c.pair.second.data());
    wrong += score != c.score ? 1 : 0;
  }
  return wrong;
}

int32_t Enrol(const reference::Record& record) {
  std::vector<uint8_t> slots(2 * 512);
  std::copy(record.begin(), record.end(), slots.begin());
  std::copy(record.begin(), record.end(), slots.begin() + 512);
  return MivoSynthMinut(slots.data(), 2, nullptr, nullptr, nullptr);
}

// The exit status of `body` run in a forked child.
template <typename Body>
int RunInChild(Body body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  int status = -1;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Threads, SixteenGetTheResultsOfOne) {
  Cases();
  std::vector<int32_t> wrong(16, -1);
  std::vector<std::thread> threads;
  for (int32_t& count : wrong) {
    threads.emplace_back([&count] { count = CountWrong(); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::vector<int32_t>(16, 0), wrong);
}

// Hosts start threads with stacks as small as the system allows.
TEST(Threads, AComparisonNeedsLittleStack) {
  Cases();
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  const auto stack_bytes =
      static_cast<size_t>(std::max(64 * 1024L, sysconf(_SC_THREAD_STACK_MIN)));
  ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, stack_bytes));
  pthread_t thread;
  const auto body = [](void* wrong) -> void* {
    *static_cast<int32_t*>(wrong) = CountWrong();
    return nullptr;
  };
  int32_t wrong = -1;
  ASSERT_EQ(0, pthread_create(&thread, &attributes, body, &wrong));
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(0, wrong);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
size_t BytesInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

TEST(Threads, AnEndedThreadLeavesNothingBehind) {
  Cases();
  const auto visit = [] { std::thread([] { CountWrong(); }).join(); };
  visit();
  const size_t before = BytesInUse();
  for (int32_t i = 0; i < 20; ++i) visit();
  EXPECT_LT(BytesInUse(), before + corvex::kMaxThreadBytes);
}

TEST(Threads, WithoutMemoryTheScoresAreStillRight) {
  Cases();
  EXPECT_EQ(0, RunInChild([] {
              // This thread has a matcher for comparisons, but none for
              // enrolments.
              const reference::Record& record = Cases()[0].pair.first;
              const int32_t expected =
                  MivoMatchFinger(record.data(), record.data());
              const struct rlimit none = {1, 1};
              setrlimit(RLIMIT_AS, &none);
              while (malloc(sizeof(corvex::FingerMatcher)) != nullptr) {
              }
              return Enrol(record) == expected ? 0 : 1;
            }));
}
#endif

TEST(Threads, AForkedChildCompares) {
  Cases();
  std::thread other([] { CountWrong(); });
  for (int32_t i = 0; i < 20; ++i) {
    EXPECT_EQ(0, RunInChild([] {
                const Case& c = Cases()[0];
                return MivoMatchFinger(c.pair.first.data(),
                                       c.pair.second.data()) == c.score
                           ? 0
                           : 1;
              }));
  }
  other.join();
}

TEST(Threads, EnrolmentLeavesTheComparisonAlone) {
  const Case& c = Cases()[0];
  const int32_t score = Enrol(c.pair.second);
  EXPECT_EQ(score, Enrol(c.pair.second));
  EXPECT_EQ(0, CountWrong());
}

}  // namespace
