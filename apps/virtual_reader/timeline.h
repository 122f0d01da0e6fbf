// Carries a script out: each step takes effect once those before it are done.
#ifndef APPS_VIRTUAL_READER_TIMELINE_H_
#define APPS_VIRTUAL_READER_TIMELINE_H_

#include <chrono>
#include <deque>
#include <optional>
#include <vector>

#include "virtual_reader/device.h"
#include "virtual_reader/script.h"

namespace corvex::vreader {

using TimePoint = std::chrono::steady_clock::time_point;

class Timeline {
 public:
  void Append(const std::vector<Step>& steps);

  // Carries out every step that is due; called after each request, when time
  // has passed and when steps were added.
  void Advance(Device* device, TimePoint now);

  // When the wait in progress ends, if it is one for time.
  std::optional<TimePoint> Due() const { return due_; }
  bool Idle() const { return steps_.empty(); }
  bool Unplugged() const { return unplugged_; }
  bool Quit() const { return quit_; }

 private:
  // Each is true when the step is done.
  bool Carry(const Step& step, Device* device, TimePoint now);
  bool HasPassed(const WaitStep& step, TimePoint now);
  bool HasHappened(const WaitForStep& step, const Tally& tally);

  std::deque<Step> steps_;
  std::optional<TimePoint> due_;
  std::optional<int> goal_;  // the tally that ends a wait-for
  bool unplugged_ = false;
  bool quit_ = false;
};

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_TIMELINE_H_
