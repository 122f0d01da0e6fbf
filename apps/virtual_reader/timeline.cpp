#include "virtual_reader/timeline.h"

#include <variant>

namespace corvex::vreader {
namespace {

template <typename... Functions>
struct Overloaded : Functions... {
  using Functions::operator()...;
};
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

}  // namespace

void Timeline::Append(const std::vector<Step>& steps) {
  steps_.insert(steps_.end(), steps.begin(), steps.end());
}

void Timeline::Advance(Device* device, TimePoint now) {
  while (!steps_.empty() && Carry(steps_.front(), device, now)) {
    steps_.pop_front();
  }
}

bool Timeline::Carry(const Step& step, Device* device, TimePoint now) {
  bool done = true;
  std::visit(
      Overloaded{
          [&](const WaitStep& s) { done = HasPassed(s, now); },
          [&](const WaitForStep& s) { done = HasHappened(s, device->tally()); },
          [&](const PressStep& s) { device->Press(s.finger, s.impression); },
          [&](const LiftStep&) { device->Lift(); },
          [&](const FaultStep& s) { device->Arm(s.fault); },
          [&](const VersionStep& s) { device->SetVersion(s.version); },
          [&](const SerialStep& s) { device->SetSerial(s.serial); },
          [&](const UnplugStep&) { unplugged_ = true; },
          [&](const QuitStep&) { quit_ = true; },
      },
      step);
  return done;
}

bool Timeline::HasPassed(const WaitStep& step, TimePoint now) {
  if (!due_) due_ = now + step.time;
  if (now < *due_) return false;
  due_.reset();
  return true;
}

bool Timeline::HasHappened(const WaitForStep& step, const Tally& tally) {
  const int count = tally.*step.counter;
  if (!goal_) goal_ = count + step.count;
  if (count < *goal_) return false;
  goal_.reset();
  return true;
}

}  // namespace corvex::vreader
