// One enrolment as the prompt program sees it: takes the driver's items, counts
// the time down, tells when it is over. No window in here.
#ifndef APPS_CX_CAPDLG_PROMPT_SESSION_H_
#define APPS_CX_CAPDLG_PROMPT_SESSION_H_

#include <chrono>
#include <functional>
#include <memory>

#include "cx_capdlg/owner_watch.h"
#include "cx_capdlg_lib.h"

namespace corvex {

enum class SessionState {
  kOpen,
  kClosed,     // the driver asks to close
  kOwnerGone,  // the driver's process has ended
  kExpired,    // nobody closed it long after the time-out
};

class PromptSession {
 public:
  using Clock = std::chrono::steady_clock;
  using TakeItem = std::function<void(const smo_data_t&)>;

  // A pause between polls that the eye does not notice.
  static constexpr std::chrono::milliseconds kPollPause{100};

  // Gives each text and picture to `take`.
  explicit PromptSession(TakeItem take);

  // Whether there was a driver's block at the start.
  bool Found() const { return watch_.Found(); }

  // Takes what is pending. Once it has returned anything but kOpen the session
  // is over.
  SessionState Poll();

  // Whole seconds of the enrolment; 0 when it has no time-out.
  int TimeoutSeconds() const { return timeout_s_; }
  // Of these, what remains, rounded up; 0 when there is no time-out.
  int SecondsLeft() const;

 private:
  bool IsExpired() const;

  const Clock::time_point start_ = Clock::now();
  const OwnerWatch watch_;
  const int timeout_s_;
  const TakeItem take_;
  const std::unique_ptr<smo_data_t> item_ = std::make_unique<smo_data_t>();
  int polls_until_watch_ = 0;
};

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_PROMPT_SESSION_H_
