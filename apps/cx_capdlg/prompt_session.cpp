#include "cx_capdlg/prompt_session.h"

#include <sys/shm.h>

#include <algorithm>

#include "cx_capdlg/prompt_text.h"
#include "extern/smo_opt/smo_base1.h"

namespace corvex {
namespace {

using std::chrono::ceil;
using std::chrono::seconds;

// A kind has one slot, so three items are the most that can be pending.
constexpr int kItemsPerPoll = 3;

// The driver may still read the last press and merge after its time is up.
constexpr seconds kExpiryMargin{10};

// The driver has started its clock before it started this program.
constexpr int kHeadStartSeconds = 3;

// From the look that found a finger to the beep it pauses twice.
constexpr seconds kLeastTaking{1};
// It gives a silent reader up after that; merging takes no time.
constexpr seconds kLongestTaking{10};

// The channel keeps one attachment a process.
constexpr shmatt_t kOwnAttachments = 1;

}  // namespace

PromptSession::PromptSession()
    : segment_(shmget(SegmentKey(kSegmentPath), 0, 0)),
      timeout_s_(std::max(0, cx_dlg_get_timeout())) {}

SessionState PromptSession::Poll(const TakeItem& take, Clock::time_point now) {
  for (int i = 0; i < kItemsPerPoll; ++i) {
    const int32_t taken = cx_dlg_recv_data(item_.get(), nullptr);
    if (taken == CX_DLG_FAILED) return SessionState::kOwnerGone;
    if (taken < 1) break;
    if (item_->quit_flag == 1) return SessionState::kClosed;
    NoteText(*item_, now);
    take(*item_);
  }
  if (timeout_s_ > 0 && now - start_ > seconds(timeout_s_) + kExpiryMargin) {
    return SessionState::kExpired;
  }
  return IsOwnerGone() ? SessionState::kOwnerGone : SessionState::kOpen;
}

// The driver repeats the text of the press that is due before each look at the
// sensor, so the longest time between the two is a round of it.
void PromptSession::NoteText(const smo_data_t& item, Clock::time_point now) {
  if (item.msg_flag != 1) return;
  const int press = PressOf(ShownText(item));
  if (press > 0 && press == press_) round_ = std::max(round_, now - text_at_);
  press_ = press;
  text_at_ = now;
}

// A driver that ends while it waits for a press does so a round after its last
// text; one that has read a press needs longer.
Ending PromptSession::HowItEnds(Clock::time_point now) const {
  const auto taking = now - text_at_ - round_;
  if (press_ == kPresses && taking >= kLeastTaking && taking < kLongestTaking) {
    return kPressesTaken;
  }
  const bool is_late = timeout_s_ > 0 && SecondsLeft(now) <= kHeadStartSeconds;
  return press_ > 0 && taking < kLeastTaking && is_late ? kTimeUp : kUnclear;
}

int PromptSession::SecondsLeft(Clock::time_point now) const {
  const seconds left = ceil<seconds>(start_ + seconds(timeout_s_) - now);
  return static_cast<int>(std::max<int64_t>(0, left.count()));
}

// The program is started through a shell, so its parent tells nothing, and a
// killed driver leaves the block behind. But the kernel counts the block's
// attachments, and a driver holds one for as long as it lives; polling has
// taken this process's own, or left it for another driver's block. Unlike a
// process id, the count is never reused, and it crosses PID namespaces.
bool PromptSession::IsOwnerGone() const {
  shmid_ds info{};
  return shmctl(segment_, IPC_STAT, &info) != 0 ||
         info.shm_nattch <= kOwnAttachments;
}

}  // namespace corvex
