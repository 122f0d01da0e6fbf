// Every call of the C library that the driver makes fails in turn, once, in
// every exported call: the call answers with the code of that failure, and the
// lock, the port and the memory are as before.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <map>

#include "cx_file_lock/cx_file_lock.h"
#include "reliability/exported_calls.h"
#include "support/conditions.h"
#include "support/pty.h"
#include "support/temp_file.h"

namespace {

using support::Bench;
using support::ExportedCall;
using support::FailedCall;
using support::Outcome;

struct Failure {
  shim_function function;
  std::vector<int> errors;
};

const std::vector<Failure> kFailures = {
    {kShimOpen, {EMFILE, EINTR}},
    {kShimFcntl, {EIO}},
    {kShimIsatty, {ENOTTY}},
    {kShimTcgetattr, {EIO}},
    {kShimTcsetattr, {EIO, EINTR}},
    {kShimTcflush, {EIO}},
    {kShimSelect, {ENOMEM, EINTR}},
    {kShimRead, {EIO, EINTR, EAGAIN, kShimShort}},
    {kShimWrite, {EIO, EINTR, kShimShort}},
    {kShimFlock, {EWOULDBLOCK, EINTR}},
    {kShimMalloc, {ENOMEM}},
    {kShimFopen, {EMFILE}},
    {kShimDlopen, {ENOENT}},
    {kShimDlsym, {ENOENT}},
    {kShimShmget, {ENOSPC}},
    {kShimShmat, {ENOMEM}},
    {kShimPopen, {EMFILE}},
    {kShimSystem, {EAGAIN}},
    {kShimGetcwd, {ENOENT}},
    {kShimReadlink, {EACCES}},
};

class SystemCallFaults : public testing::TestWithParam<ExportedCall> {
 protected:
  // The log multiplies the points, and a guided call is slow as it is.
  SystemCallFaults() {
    if (!GetParam().prompts) support::SwitchLogOn();
  }

  // What the call may answer when this failed.
  std::vector<int> Allowed(const FailedCall& failed,
                           const std::string& target) const {
    const bool on_port = target == bench_.PortPath() || target == "/dev/COM3";
    if (target == kCallLockPath) return {-14};
    if (failed.function == kShimMalloc) return OrUnharmed(memory());
    if (on_port) return AllowedOnPort(failed);
    if (target == support::DayLogPath() || target == "pause") return {0};
    return OrUnharmed(GetParam().site_failures);
  }

  std::vector<int> AllowedOnPort(const FailedCall& failed) const {
    const std::vector<int>& exchange = GetParam().exchange_failures;
    switch (failed.function) {
      case kShimRead:
        return failed.error == EINTR || failed.error == EAGAIN
                   ? std::vector<int>{0}
                   : OrUnharmed(exchange);
      case kShimSelect:
      case kShimWrite:
        return OrUnharmed(exchange);
      default:
        return {-3};
    }
  }

  const std::vector<int>& memory() const { return GetParam().memory_failures; }

  static std::vector<int> OrUnharmed(std::vector<int> codes) {
    codes.push_back(0);
    return codes;
  }

  // True when the call made so many calls of that function.
  bool Survives(const FailedCall& failed) {
    bench_.RenewReader();
    const termios settings = bench_.Reader().TerminalSettings();
    const int descriptors = support::OpenDescriptors();
    const Outcome outcome = MakeCall(GetParam(), bench_, failed);
    const shim_report_t report = bench_.Report();
    if (!report.failed) return false;
    const std::string target = report.target;
    SCOPED_TRACE(std::string(shim_name(failed.function)) + " " +
                 std::to_string(failed.nth) + ", error " +
                 std::to_string(failed.error) + ", on " + target);
    const std::vector<int> allowed = Allowed(failed, target);
    EXPECT_NE(allowed.end(),
              std::find(allowed.begin(), allowed.end(), outcome.code))
        << outcome;
    if (outcome.code == 0) {
      EXPECT_EQ(clean_, outcome);
    }
    EXPECT_TRUE(support::LockIsFree());
    EXPECT_EQ(descriptors, support::OpenDescriptors());
    EXPECT_TRUE(report.allocations_left == 0 || IsKept(failed))
        << report.allocations_left << " blocks";
    if (target != "restore") {
      EXPECT_TRUE(
          support::SameSettings(settings, bench_.Reader().TerminalSettings()));
    }
    if (GetParam().prompts) ExpectNoPrompt();
    return true;
  }

  // The first exception of a process takes memory for good: it is not taken
  // again.
  bool IsKept(const FailedCall& failed) {
    if (GetParam().keeps_memory) return true;
    bench_.RenewReader();
    MakeCall(GetParam(), bench_, failed);
    return bench_.Report().allocations_left == 0;
  }

  static void ExpectNoPrompt() {
    EXPECT_TRUE(support::Eventually([] { return !support::PromptRuns(); }));
    EXPECT_LE(support::Segments(), 1);
  }

  // In a guided call the line's own calls are tried one in `stride`: each run
  // of it starts a process several times.
  int Stride(shim_function function) const {
    const bool on_line = function == kShimRead || function == kShimSelect ||
                         function == kShimMalloc;
    return GetParam().prompts && on_line && !support::IsLongRun() ? 61 : 1;
  }

  Bench bench_;
  Outcome clean_;
};

TEST_P(SystemCallFaults, HarmTheCallAloneAndLeaveNothingBehind) {
  // What is made once for a process's life is made in the first runs.
  clean_ = MakeCall(GetParam(), bench_);
  ASSERT_EQ(0, clean_.code);
  ASSERT_EQ(clean_, MakeCall(GetParam(), bench_));
  int points = 0;
  for (const Failure& failure : kFailures) {
    int tried = 0;
    for (const int error : failure.errors) {
      const int stride = Stride(failure.function);
      int nth = 1;
      while (Survives({failure.function, nth, error})) {
        nth += stride;
        ++tried;
        if (HasFailure()) return;
      }
    }
    if (tried > 0) printf("  %s %d\n", shim_name(failure.function), tried);
    points += tried;
  }
  printf("%s: %d points survived\n", GetParam().name, points);
  EXPECT_TRUE(points > 0 || support::kSanitized);
}

INSTANTIATE_TEST_SUITE_P(InTurn, SystemCallFaults,
                         testing::ValuesIn(support::kExportedCalls),
                         [](const auto& call) {
                           return std::string(call.param.name);
                         });

}  // namespace
