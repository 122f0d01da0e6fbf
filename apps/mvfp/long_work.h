// Work that may take minutes: on a terminal a line on standard error shows how
// far it is, and Ctrl-C ends it where nothing is half-done.
#ifndef APPS_MVFP_LONG_WORK_H_
#define APPS_MVFP_LONG_WORK_H_

#include <chrono>
#include <csignal>
#include <cstddef>
#include <string>

#include "calls/wait_line.h"
#include "report.h"

namespace corvex::mvfp {

// One at a time. A second Ctrl-C ends the tool at once, wherever it is.
class LongWork {
 public:
  // `what` as "comparing"; a total of 0 is not known.
  explicit LongWork(std::string what, size_t total = 0);
  ~LongWork();
  LongWork(const LongWork&) = delete;
  LongWork& operator=(const LongWork&) = delete;

  // So much is done. False when a signal asked for the end.
  bool GoesOn(size_t done);

  // The same; throws Interrupted() instead.
  void Done(size_t done);

  // What then ends the tool, as the signal would have.
  static Failure Interrupted();

 private:
  using Clock = std::chrono::steady_clock;

  void Show(size_t done);
  std::string Text(size_t done, double seconds) const;

  const std::string what_;
  const size_t total_;
  const Clock::time_point start_ = Clock::now();
  Clock::time_point next_show_;
  WaitLine line_;
  struct sigaction before_[3];
};

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_LONG_WORK_H_
