// One enrolment as the prompt program sees it: takes the driver's items, counts
// the time down, tells when it is over. No window in here.
#ifndef APPS_CX_CAPDLG_PROMPT_SESSION_H_
#define APPS_CX_CAPDLG_PROMPT_SESSION_H_

#include <chrono>
#include <functional>
#include <memory>

#include "cx_capdlg_lib.h"

namespace corvex {

enum class SessionState {
  kOpen,
  kClosed,     // the driver asks to close
  kOwnerGone,  // the driver's process has ended
  kExpired,    // nobody closed it long after the time-out
};

// How an enrolment ended, as far as a prompt program can tell: nobody says it.
enum Ending {
  kUnclear,
  kPressesTaken,  // whether a template came of them, the host alone knows
  kTimeUp,
  kEndings
};

class PromptSession {
 public:
  using Clock = std::chrono::steady_clock;
  using TakeItem = std::function<void(const smo_data_t&)>;

  // A pause between polls that the eye does not notice.
  static constexpr std::chrono::milliseconds kPollPause{100};

  // The driver pauses as long between two looks at the sensor.
  static constexpr std::chrono::milliseconds kLeastRound{500};

  // The session of the block that exists now.
  PromptSession();

  // Whether there is one.
  bool Found() const { return segment_ != -1; }

  // Gives each pending text and picture to `take`. Once it has returned
  // anything but kOpen the session is over.
  SessionState Poll(const TakeItem& take, Clock::time_point now = Clock::now());

  // What the end that is now tells of itself.
  Ending HowItEnds(Clock::time_point now = Clock::now()) const;

  // Whole seconds of the enrolment; 0 when it has no time-out.
  int TimeoutSeconds() const { return timeout_s_; }
  // Of these, what remains, rounded up; 0 when there is no time-out.
  int SecondsLeft(Clock::time_point now = Clock::now()) const;

 private:
  bool IsOwnerGone() const;
  void NoteText(const smo_data_t& item, Clock::time_point now);

  const Clock::time_point start_ = Clock::now();
  const int segment_;
  const int timeout_s_;
  const std::unique_ptr<smo_data_t> item_ = std::make_unique<smo_data_t>();
  int press_ = 0;                        // that the last text asks for
  Clock::time_point text_at_;            // when it came
  Clock::duration round_ = kLeastRound;  // from one text to its repetition
};

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_PROMPT_SESSION_H_
