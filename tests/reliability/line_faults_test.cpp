// Every reply of every call is spoiled at every character in turn: the call
// either delivers what an unspoiled line delivers or fails with a code of the
// exchange, within a bounded time, and leaves nothing behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "reliability/exported_calls.h"
#include "support/conditions.h"
#include "support/pty.h"

namespace {

using corvex::vreader::Transfer;
using support::Bench;
using support::ExportedCall;
using support::Outcome;

// The reply's header carries no check value: a length that was changed on the
// line to another that fits what follows cannot be told from a true one.
constexpr size_t kLengthAt = 7;
constexpr size_t kDataAt = 15;

constexpr int kTooLong = -3;
constexpr int kNoTemplate = -99;
constexpr int kNoGuidedTemplate = -601;
constexpr int kBits = 8;

class LineFaults : public testing::TestWithParam<ExportedCall> {
 protected:
  // What the reader answers, request by request.
  std::vector<std::string> Replies() {
    bench_.RenewReader();
    clean_ = MakeCall(GetParam(), bench_);
    std::vector<std::string> replies;
    for (const Transfer& transfer : bench_.Reader().Trace()) {
      if (transfer.direction == Transfer::Direction::kToHost) {
        replies.push_back(transfer.text);
      }
    }
    return replies;
  }

  bool IsAllowed(const Outcome& outcome, bool changes_length) const {
    if (outcome.code == 0) return outcome == clean_ || changes_length;
    const bool no_template =
        outcome.code == kNoTemplate || outcome.code == kNoGuidedTemplate;
    if (changes_length && no_template) return true;
    const std::vector<int>& codes = GetParam().exchange_failures;
    return outcome.code == kTooLong ||
           std::find(codes.begin(), codes.end(), outcome.code) != codes.end();
  }

  void Try(size_t reply, const std::string& fault, bool changes_length) {
    bench_.RenewReader();
    const termios settings = bench_.Reader().TerminalSettings();
    const int descriptors = support::OpenDescriptors();
    const std::string wait =
        reply == 0 ? "" : "wait-for requests " + std::to_string(reply) + "; ";
    bench_.Reader().Run(wait + fault);
    const Outcome outcome = MakeCall(GetParam(), bench_);
    ++points_;
    longest_ms_ = std::max(longest_ms_, bench_.Report().waited_ms);
    SCOPED_TRACE("reply " + std::to_string(reply) + ": " + fault);
    EXPECT_TRUE(IsAllowed(outcome, changes_length)) << outcome;
    EXPECT_TRUE(support::LockIsFree());
    if (GetParam().prompts) {
      EXPECT_TRUE(support::Eventually([] { return !support::PromptRuns(); }));
      EXPECT_EQ(0, support::Segments());
    }
    if (fault.find("hang-up") != std::string::npos) return;
    EXPECT_EQ(descriptors, support::OpenDescriptors());
    EXPECT_TRUE(
        support::SameSettings(settings, bench_.Reader().TerminalSettings()));
  }

  void SpoilWhole(size_t reply) {
    for (const char* const fault :
         {"silence", "garbage 7E", "garbage 00FF", "garbage 3031323334353637",
          "garbage 7E31303136303030303030303030"}) {
      Try(reply, fault, /*changes_length=*/false);
    }
  }

  void SpoilAt(size_t reply, size_t at) {
    const bool in_length = at >= kLengthAt && at < kDataAt;
    const std::string where = std::to_string(at);
    Try(reply, "truncate " + where, false);
    Try(reply, "hang-up " + where, false);
    Try(reply, "double " + where, in_length);
    for (int bit = 0; bit < kBits; ++bit) {
      if (!TriesBit(bit, at)) continue;
      Try(reply, "flip " + where + " " + std::to_string(bit), in_length);
    }
  }

  // A guided call takes long: it is tried at few places, one bit at each.
  bool TriesBit(int bit, size_t at) const {
    return !GetParam().prompts || support::IsLongRun() ||
           bit == static_cast<int>(at % kBits);
  }
  size_t Stride() const {
    return GetParam().prompts && !support::IsLongRun() ? 43 : 1;
  }

  Bench bench_;
  Outcome clean_;
  int points_ = 0;
  int64_t longest_ms_ = 0;
};

TEST_P(LineFaults, NeverPassForAnAnswerNorOutlastTheirBound) {
  const std::vector<std::string> replies = Replies();
  ASSERT_EQ(0, clean_.code);
  for (size_t reply = 0; reply < replies.size(); ++reply) {
    if (reply % Stride() == 0) SpoilWhole(reply);
    for (size_t at = 0; at < replies[reply].size(); at += Stride()) {
      SpoilAt(reply, at);
      if (HasFailure()) return;
    }
  }
  printf("%s: %d points survived, the longest took %lld ms\n", GetParam().name,
         points_, static_cast<long long>(longest_ms_));
  EXPECT_GT(points_, 0);
}

std::vector<ExportedCall> CallsOnTheLine() {
  std::vector<ExportedCall> calls;
  for (const ExportedCall& call : support::kExportedCalls) {
    if (!call.exchange_failures.empty()) calls.push_back(call);
  }
  return calls;
}

INSTANTIATE_TEST_SUITE_P(AtEveryCharacter, LineFaults,
                         testing::ValuesIn(CallsOnTheLine()),
                         [](const auto& call) {
                           return std::string(call.param.name);
                         });

}  // namespace
