#include "virtual_reader/timeline.h"

namespace corvex::vreader {

void Timeline::Append(const std::vector<Step>& steps) {
  steps_.insert(steps_.end(), steps.begin(), steps.end());
}

void Timeline::Advance(Device* device, TimePoint now) {
  const auto carry = [&](const auto& step) { return Carry(step, device, now); };
  while (!steps_.empty() && std::visit(carry, steps_.front())) {
    steps_.pop_front();
  }
}

bool Timeline::Carry(const PressStep& step, Device* device, TimePoint) {
  device->Press(step.finger, step.impression);
  return true;
}

bool Timeline::Carry(const LiftStep&, Device* device, TimePoint) {
  device->Lift();
  return true;
}

bool Timeline::Carry(const WaitStep& step, Device*, TimePoint now) {
  if (!due_) due_ = now + step.time;
  if (now < *due_) return false;
  due_.reset();
  return true;
}

bool Timeline::Carry(const WaitForStep& step, Device* device, TimePoint) {
  const int count = device->tally().*step.counter;
  if (!goal_) goal_ = count + step.count;
  if (count < *goal_) return false;
  goal_.reset();
  return true;
}

bool Timeline::Carry(const FaultStep& step, Device* device, TimePoint) {
  device->Arm(step.fault);
  return true;
}

bool Timeline::Carry(const VersionStep& step, Device* device, TimePoint) {
  device->SetVersion(step.version);
  return true;
}

bool Timeline::Carry(const SerialStep& step, Device* device, TimePoint) {
  device->SetSerial(step.serial);
  return true;
}

bool Timeline::Carry(const UnplugStep&, Device*, TimePoint) {
  unplugged_ = true;
  return true;
}

bool Timeline::Carry(const QuitStep&, Device*, TimePoint) {
  quit_ = true;
  return true;
}

}  // namespace corvex::vreader
