// Eight processes of eight threads each hammer one reader through every call.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <new>
#include <thread>
#include <vector>

#include "reliability/exported_calls.h"
#include "support/conditions.h"
#include "virtual_reader/random.h"

namespace {

using support::Bench;
using support::ExportedCall;
using support::kExportedCalls;
using support::Outcome;

constexpr int kProcesses = 8;
constexpr int kThreads = 8;
constexpr int kBusy = -14;
constexpr size_t kMostCalls = 16;
constexpr auto kPatience = std::chrono::minutes(2);

// The reader's queries and captures, and the comparison that needs no device.
bool IsHammered(const ExportedCall& call) {
  const std::string name = call.name;
  return name != "cx_dlg" && name != "FG_FpMatch_InTheLibrary";
}

// Asks the reader twice: the second time it may be taken.
bool AsksTwice(const ExportedCall& call) {
  return std::string(call.name) == "DEV_CommCall";
}

// Shared by all processes.
struct Totals {
  // A slow machine gets through few calls in the time that is enough for
  // others.
  bool AllSucceeded() const {
    for (size_t i = 0; i < kExportedCalls.size(); ++i) {
      if (IsHammered(kExportedCalls[i]) && successes[i] == 0) return false;
    }
    return true;
  }

  std::array<std::atomic<int>, kMostCalls> successes{};
  std::atomic<int> refusals{0};
  std::atomic<int> halves{0};  // refusals of calls that ask twice
  std::atomic<int> refusals_that_waited{0};
  std::atomic<int> others{0};
};

class Hammer {
 public:
  Hammer(const Bench& bench, Totals* totals, uint64_t seed,
         std::chrono::steady_clock::time_point end)
      : bench_(bench), totals_(totals), random_(seed), end_(end) {
    bench_.WaitForReplies();
  }

  void Run() {
    const int last = static_cast<int>(kExportedCalls.size()) - 1;
    while (!IsOver()) {
      const auto index = static_cast<size_t>(random_.Between(0, last));
      if (IsHammered(kExportedCalls[index])) Strike(index);
    }
  }

 private:
  bool IsOver() const {
    const auto now = std::chrono::steady_clock::now();
    return now >= end_ + kPatience || (now >= end_ && totals_->AllSucceeded());
  }

  void Strike(size_t index) {
    const ExportedCall& call = kExportedCalls[index];
    const Outcome outcome = MakeCall(call, bench_);
    if (outcome.code == 0) {
      ++totals_->successes[index];
    } else if (outcome.code == kBusy) {
      Refused(call);
    } else {
      ++totals_->others;
      fprintf(stderr, "%s: %d\n", call.name, outcome.code);
    }
  }

  void Refused(const ExportedCall& call) {
    ++totals_->refusals;
    if (AsksTwice(call)) {
      ++totals_->halves;
    } else if (bench_.Report().waited_ms > 0) {
      ++totals_->refusals_that_waited;
    }
    usleep(static_cast<useconds_t>(random_.Between(0, 2000)));
  }

  Bench bench_;
  Totals* const totals_;
  corvex::vreader::Random random_;
  const std::chrono::steady_clock::time_point end_;
};

Totals* SharedTotals() {
  void* const memory = mmap(nullptr, sizeof(Totals), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return new (memory) Totals;
}

[[noreturn]] void RunProcess(const Bench& bench, Totals* totals, int process,
                             std::chrono::steady_clock::time_point end) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    const auto seed = static_cast<uint64_t>(process * kThreads + i);
    threads.emplace_back([&bench, totals, seed, end] {
      Hammer(bench, totals, seed, end).Run();
    });
  }
  for (std::thread& thread : threads) thread.join();
  _exit(0);
}

// How many requests one undisturbed run of the call sends.
int RequestsOf(const ExportedCall& call, Bench& bench) {
  const int before = bench.Reader().Counts().requests;
  EXPECT_EQ(0, MakeCall(call, bench).code);
  return bench.Reader().Counts().requests - before;
}

TEST(Concurrency, OneCallAtATimeReachesTheWireAndTheOthersAreToldAtOnce) {
  Bench bench;
  std::vector<int> requests_of;
  for (const ExportedCall& call : kExportedCalls) {
    requests_of.push_back(IsHammered(call) ? RequestsOf(call, bench) : 0);
  }
  bench.RenewReader();
  Totals* const totals = SharedTotals();
  const auto end = std::chrono::steady_clock::now() +
                   std::chrono::seconds(support::IsLongRun() ? 60 : 6);
  for (int i = 0; i < kProcesses; ++i) {
    if (fork() == 0) RunProcess(bench, totals, i, end);
  }
  for (int i = 0; i < kProcesses; ++i) {
    int status = -1;
    wait(&status);
    EXPECT_EQ(0, status);
  }
  int expected = 0;
  int successes = 0;
  for (size_t i = 0; i < kExportedCalls.size(); ++i) {
    if (!IsHammered(kExportedCalls[i])) continue;
    printf("  %s %d\n", kExportedCalls[i].name, totals->successes[i].load());
    EXPECT_GT(totals->successes[i], 0) << kExportedCalls[i];
    successes += totals->successes[i];
    expected += totals->successes[i] * requests_of[i];
  }
  printf("%d calls done, %d refused\n", successes, totals->refusals.load());
  EXPECT_EQ(0, totals->others);
  EXPECT_GT(totals->refusals, 0);
  EXPECT_EQ(0, totals->refusals_that_waited);
  // Nothing reached the reader but what the calls that succeeded sent, and the
  // first halves of those that ask twice.
  const int requests = bench.Reader().Counts().requests;
  EXPECT_GE(requests, expected);
  EXPECT_LE(requests, expected + totals->halves);
  EXPECT_EQ(std::vector<std::string>{}, bench.Reader().Errors());
  EXPECT_TRUE(support::LockIsFree());
  EXPECT_TRUE(support::Eventually([] { return !support::PromptRuns(); }));
}

}  // namespace
