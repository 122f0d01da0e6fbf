// The script language: what happens to the reader, one command after another.
// docs/virtual-reader.md describes it for its users.
#ifndef APPS_VIRTUAL_READER_SCRIPT_H_
#define APPS_VIRTUAL_READER_SCRIPT_H_

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "virtual_reader/device.h"

namespace corvex::vreader {

using TimePoint = std::chrono::steady_clock::time_point;

// Waits until the time has passed and the events have happened, then acts.
struct Step {
  std::chrono::milliseconds time{0};
  int Tally::*counter = &Tally::requests;
  int count = 0;  // how many more
  std::function<void(Device*)> act;
};

struct Script {
  std::vector<Step> steps;
  std::vector<std::string> errors;  // each names its line and token
};

// Lines count from `first_line`. To press a finger that the book does not hold
// is an error.
Script ParseScript(std::string_view text, const FingerBook& book,
                   int first_line = 1);

// Carries scripts out: each step begins once those before it are done.
class Timeline {
 public:
  void Append(const std::vector<Step>& steps) {
    steps_.insert(steps_.end(), steps.begin(), steps.end());
  }

  // Carries out every step that is due; called after each request, when time
  // has passed and when steps were added.
  void Advance(Device* device, TimePoint now);

  // When the wait in progress ends; never, unless it is one for time.
  TimePoint Due() const { return due_; }

 private:
  std::deque<Step> steps_;
  bool waiting_ = false;  // for the first of them, to these ends
  TimePoint due_ = TimePoint::max();
  int goal_ = 0;
};

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_SCRIPT_H_
