// What a driver cannot trust fails in turn, at every point of every call: the
// call delivers what it always delivers or fails with a code of its own, within
// a bounded time, and leaves nothing behind.
#include <algorithm>
#include <cerrno>
#include <vector>

#include "reliability/driver_calls.h"
#include "support/temp_file.h"

namespace {

using corvex::vreader::Transfer;

constexpr int kFailures[] = {-3, -7, -8, -10, -11, -14, -23, -99, -601};

// Two silences of ten seconds, and what the call takes without them.
constexpr int64_t kLongestMs = 30000;

class Faults : public DriverTest,
               public testing::WithParamInterface<std::string> {
 protected:
  // What is made once for a process's life is made in the first call.
  Faults() {
    // In a guided call it would multiply the points too much.
    if (GetParam() != kGuided) support::SwitchLogOn();
    Call(GetParam());
    clean_ = Call(GetParam());
    EXPECT_EQ(0, clean_.code);
  }

  ShimReport ExpectSurvival(const Fault& fault, bool may_differ = false) {
    const Outcome outcome = Call(GetParam(), fault);
    const bool fails = std::count(std::begin(kFailures), std::end(kFailures),
                                  outcome.code) == 1;
    const bool delivers =
        outcome.code == 0 && (outcome.output == clean_.output || may_differ);
    EXPECT_TRUE(fails || delivers) << outcome.code << " " << outcome.output;
    // Without memory nothing was asked, so nothing was waited for.
    EXPECT_FALSE(fault.function == Shimmed::kMalloc && outcome.code == -11);
    EXPECT_LE(outcome.report.waited_ms, kLongestMs);
    EXPECT_FALSE(outcome.report.opens_for_children);
    ExpectNothingLeft();
    return outcome.report;
  }

  // True when the call made so many calls of that function.
  bool SurvivesCall(const Fault& fault) {
    SCOPED_TRACE("function " + std::to_string(int(fault.function)) + ", call " +
                 std::to_string(fault.nth) + ", error " +
                 std::to_string(fault.error));
    RenewReader();
    const ShimReport report = ExpectSurvival(fault);
    if (GetParam() == kGuided) ExpectNoPrompt();
    // The first exception of a process takes memory for good, a comparison for
    // its thread's life.
    if (report.memory_left != 0 && GetParam() != kMatch) {
      RenewReader();
      EXPECT_EQ(0, Call(GetParam(), fault).report.memory_left);
    }
    return report.failed && !HasFailure();
  }

  void SurviveOnLine(size_t reply, const std::string& fault,
                     bool may_differ = false) {
    const std::string at = std::to_string(reply);
    SCOPED_TRACE("reply " + at + ": " + fault);
    RenewReader();
    reader_->Run((reply == 0 ? "" : "wait-for requests " + at + "; ") + fault);
    EXPECT_EQ(0, ExpectSurvival({}, may_differ).memory_left);
  }

  Outcome clean_;
};

using SystemCallFaults = Faults;
class LineFaults : public Faults {};

TEST_P(SystemCallFaults, HarmTheCallAloneAndLeaveNothingBehind) {
  const struct {
    Shimmed function;
    std::vector<int> errors;
    int stride;  // in guided calls, which start processes and take their time
  } kErrors[] = {{Shimmed::kOpen, {EMFILE, EINTR}, 1},
                 {Shimmed::kSelect, {ENOMEM, EINTR}, 61},
                 {Shimmed::kRead, {EIO, EINTR, EAGAIN, kShort}, 61},
                 {Shimmed::kWrite, {EIO, EINTR, kShort}, 1},
                 {Shimmed::kMalloc, {ENOMEM}, 61},
                 {Shimmed::kShmat, {ENOMEM}, 1},
                 {Shimmed::kPopen, {EMFILE}, 1}};
  for (const auto& [function, errors, stride] : kErrors) {
    for (const int error : errors) {
      int nth = 1;
      while (SurvivesCall({function, nth, error})) {
        nth += GetParam() == kGuided ? stride : 1;
      }
    }
  }
}

TEST_P(LineFaults, NeverPassForAnAnswerNorOutlastTheirBound) {
  RenewReader();
  Call(GetParam());
  size_t reply = 0;
  for (const Transfer& transfer : reader_->Trace()) {
    if (transfer.direction != Transfer::Direction::kToHost) continue;
    for (const char* fault : {"silence", "garbage 7E", "garbage 303132333435",
                              "garbage 7E31303136303030303030303030"}) {
      SurviveOnLine(reply, fault);
    }
    for (size_t at = 0; at < transfer.text.size() && !HasFailure(); ++at) {
      const std::string where = std::to_string(at);
      // The header has no check value: its length, changed to another that fits
      // what follows, cannot be told from a true one.
      const bool in_length = at >= 7 && at < 15;
      SurviveOnLine(reply, "truncate " + where);
      SurviveOnLine(reply, "double " + where, in_length);
      for (const char* bit : {" 0", " 1", " 2", " 3", " 4", " 5", " 6", " 7"}) {
        SurviveOnLine(reply, "flip " + where + bit, in_length);
      }
    }
    ++reply;
  }
  EXPECT_GT(reply, 0u);
}

const std::string kCalls[] = {"FG_GetDevVersion",
                              "FG_GetDevSn",
                              "FG_CheckPressed",
                              "FG_GetFeature",
                              "FG_GetTemplate",
                              "DEV_CommCall",
                              kMatch,
                              kGuided};

std::string Name(const testing::TestParamInfo<std::string>& call) {
  return call.param;
}

INSTANTIATE_TEST_SUITE_P(Of, SystemCallFaults, testing::ValuesIn(kCalls), Name);
// One has no line, the other's is FG_GetTemplate's.
INSTANTIATE_TEST_SUITE_P(Of, LineFaults, testing::ValuesIn(kCalls, kCalls + 6),
                         Name);

}  // namespace
