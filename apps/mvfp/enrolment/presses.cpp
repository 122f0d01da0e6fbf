#include "enrolment/presses.h"

#include <mv_match.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "MvMatch/minutiae_record.h"
#include "mv_fpi/thresholds.h"
#include "records/record_bytes.h"
#include "report.h"

namespace corvex::mvfp {
namespace {

// As far as noise moves and turns a minutia of a finger that stays.
constexpr int kPlaceCells = 4;
constexpr int kPlaceDegrees = 10;

MinutiaeVector MinutiaeOf(const std::string& record) {
  WorkingForm working{};
  ConvertTransferFormat(&working,
                        reinterpret_cast<const uint8_t*>(record.data()));
  return working.minutiae;
}

bool IsInPlace(const Minutia& a, const Minutia& b) {
  const int turn = std::abs(a.direction - b.direction);
  return std::abs(a.x - b.x) <= kPlaceCells &&
         std::abs(a.y - b.y) <= kPlaceCells &&
         std::min(turn, 360 - turn) <= kPlaceDegrees;
}

PressPair Compare(const std::vector<Press>& all, size_t first, size_t second) {
  const std::string& a = all[first].record;
  const std::string& b = all[second].record;
  return {first, second, mv_compare(a.data(), a.size(), b.data(), b.size()),
          InPlacePercent(a, b)};
}

}  // namespace

int InPlacePercent(const std::string& a, const std::string& b) {
  MinutiaeVector fewer = MinutiaeOf(a);
  MinutiaeVector more = MinutiaeOf(b);
  if (fewer.count > more.count) std::swap(fewer, more);
  if (fewer.count == 0) return 0;
  const auto stays = std::count_if(
      fewer.entry, fewer.entry + fewer.count, [&](const Minutia& minutia) {
        return std::any_of(
            more.entry, more.entry + more.count,
            [&](const Minutia& other) { return IsInPlace(minutia, other); });
      });
  return static_cast<int>(100 * stays / fewer.count);
}

bool Presses::Agree() const { return lowest_score > kSynthesisThreshold; }

PressTaker::PressTaker(PressOptions options, int presses)
    : options_(std::move(options)), presses_(presses) {}

Press PressTaker::Take() {
  Press press;
  if (taken_ > 0) press.lifted = AwaitLift(WithTimeLeft());
  ++taken_;
  press.text =
      CaptureFeature(WithTimeLeft(), "press " + std::to_string(taken_) +
                                         " of " + std::to_string(presses_));
  press.record = RecordOf(press.text, &press.problem);
  return press;
}

// A call takes no less than a second.
PressOptions PressTaker::WithTimeLeft() const {
  const auto passed = std::chrono::duration_cast<std::chrono::seconds>(
      std::chrono::steady_clock::now() - start_);
  PressOptions left = options_;
  left.timeout_s =
      std::max(1, options_.timeout_s - static_cast<int>(passed.count()));
  return left;
}

Presses TakeThree(PressTaker* taker) {
  Presses presses;
  for (int i = 0; i < 3; ++i) {
    presses.all.push_back(taker->Take());
    const std::string& problem = presses.all.back().problem;
    if (!problem.empty()) {
      throw Failure{
          "press " + std::to_string(i + 1) + ": " + problem,
          "only the driver merges such records: enrol with --output alone"};
    }
  }
  const void* records[3];
  size_t bytes[3];
  for (size_t i = 0; i < 3; ++i) {
    records[i] = presses.all[i].record.data();
    bytes[i] = presses.all[i].record.size();
    for (size_t j = 0; j < i; ++j) {
      presses.pairs.push_back(Compare(presses.all, j, i));
    }
  }
  presses.lowest_score = mv_choose_template(records, bytes, 3, &presses.chosen);
  return presses;
}

}  // namespace corvex::mvfp
