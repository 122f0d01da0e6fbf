// Tells the person at the reader what is awaited, on a terminal only.
#ifndef APPS_MVFP_WAIT_PROGRESS_H_
#define APPS_MVFP_WAIT_PROGRESS_H_

#include <sys/types.h>

#include <string>

#include "day_log.h"

namespace corvex::mvfp {

// A capture is one press, an enrolment three.
//
// No call tells which press it awaits. The day's log does, so while it is on
// the line names the press; otherwise it says what to do and leaves the
// counting to the reader's beeps. The log is never switched on for this: it
// would go on for everybody and all day.
class WaitProgress {
 public:
  WaitProgress(int presses, int timeout_s);
  ~WaitProgress();
  WaitProgress(const WaitProgress&) = delete;
  WaitProgress& operator=(const WaitProgress&) = delete;

  void Update(pid_t worker, long elapsed_ms);

 private:
  std::string Prompt() const;
  void CountPresses(pid_t worker);

  const bool visible_;
  const int presses_;
  const int timeout_s_;
  LogFollower log_{false};
  int taken_ = 0;
};

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_WAIT_PROGRESS_H_
