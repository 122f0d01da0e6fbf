// Thousands of calls in one process, one in ten over a line with a fault: every
// result as scripted, and neither memory nor descriptors grow.
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>

#include "corvex_capdlg/stand_in.h"
#include "reliability/exported_calls.h"
#include "support/pty.h"
#include "virtual_reader/random.h"

namespace {

using corvex::vreader::Random;
using support::Bench;
using support::ExportedCall;
using support::kExportedCalls;
using support::Outcome;

constexpr int kCalls = 10000;
constexpr int kWarmedUp = 1000;

struct Scripted {
  const char* fault;
  int query;    // what the queries give
  int pressed;  // FG_CheckPressed
  int feature;  // FG_GetFeature, whose first exchange sets the speed
};

constexpr Scripted kFaults[] = {
    {"silence", -11, -7, -10},     {"truncate 5", -14, -7, -10},
    {"echo 0x55", -14, -7, -10},   {"status 9", -14, -7, -10},
    {"marker 0x17", -14, -7, -10}, {"length 1025", -3, -7, -10},
    {"garbage 00", -14, -7, -10},
};

// Pages of the process in memory, those that the allocator could do without
// not counted.
long ResidentPages() {
  malloc_trim(0);
  long size = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident;
}

class Soak : public testing::Test {
 protected:
  Soak() {
    // One heap: which of several a thread gets is a matter of chance.
    mallopt(M_ARENA_MAX, 1);
    CallEach();
  }

  // Each call once, in the same order: the memory that calls keep for the next
  // is then the same whatever came before.
  void CallEach() {
    for (const ExportedCall& call : kExportedCalls) {
      clean_[call.name] = MakeCall(call, bench_);
      EXPECT_EQ(0, clean_[call.name].code) << call;
    }
    bench_.RenewReader();
  }

  long PagesAfterEachCall() {
    CallEach();
    return ResidentPages();
  }

  void CallOnce() {
    const ExportedCall& call = Choose();
    const bool faulty = random_.Chance(10) && IsDeviceCall(call);
    if (!faulty) {
      EXPECT_EQ(clean_[call.name], MakeCall(call, bench_)) << call;
      return;
    }
    const Scripted& scripted =
        kFaults[random_.Between(0, static_cast<int>(std::size(kFaults)) - 1)];
    bench_.Reader().Run(scripted.fault);
    EXPECT_EQ(ExpectedOf(call, scripted), MakeCall(call, bench_).code)
        << call << " with " << scripted.fault;
    ++faults_;
  }

  // Calls that start processes are one in a hundred.
  const ExportedCall& Choose() {
    while (true) {
      const int last = static_cast<int>(kExportedCalls.size()) - 1;
      const auto index = static_cast<size_t>(random_.Between(0, last));
      const ExportedCall& call = kExportedCalls[index];
      const bool slow = call.prompts || call.keeps_memory;
      if (!slow || random_.Chance(call.prompts ? 5 : 50)) return call;
    }
  }

  static bool IsDeviceCall(const ExportedCall& call) {
    return !call.exchange_failures.empty();
  }

  static int ExpectedOf(const ExportedCall& call, const Scripted& scripted) {
    const std::string name = call.name;
    if (name == "FG_CheckPressed") return scripted.pressed;
    return name == "FG_GetFeature" ? scripted.feature : scripted.query;
  }

  Bench bench_;
  Random random_{7};
  std::map<std::string, Outcome> clean_;
  int faults_ = 0;
};

TEST_F(Soak, TenThousandCallsGiveWhatTheyShouldAndTakeNothing) {
  long warmed_up = 0;
  int descriptors = 0;
  for (int i = 1; i <= kCalls; ++i) {
    CallOnce();
    if (HasFailure()) return;
    // It remembers what it was asked.
    if (i % 100 == 0) bench_.RenewReader();
    if (i == kWarmedUp) {
      descriptors = support::OpenDescriptors();
      PagesAfterEachCall();  // measuring brings code in too
      warmed_up = PagesAfterEachCall();
    }
  }
  const long at_the_end = PagesAfterEachCall();
  printf("%d calls, %d of them with a fault; %ld and %ld pages\n", kCalls,
         faults_, warmed_up, at_the_end);
  // An emulator keeps its translations of each loaded driver in this process.
  if (!support::kSanitized && !MV_EMULATED) {
    EXPECT_LE(at_the_end, warmed_up + warmed_up / 100);
  }
  EXPECT_EQ(descriptors, support::OpenDescriptors());
  EXPECT_EQ(0, support::Segments());
}

}  // namespace
