#include "cx_capdlg/prompt_session.h"

#include <algorithm>
#include <utility>

namespace corvex {
namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int kPollsPerWatch = 5;

// A kind has one slot, so three items are the most that can be pending.
constexpr int kItemsPerPoll = 3;

// The driver may still read the last press and merge after its time is up.
constexpr seconds kExpiryMargin{10};

}  // namespace

PromptSession::PromptSession(TakeItem take)
    : timeout_s_(std::max(0, cx_dlg_get_timeout())), take_(std::move(take)) {}

SessionState PromptSession::Poll() {
  for (int i = 0; i < kItemsPerPoll; ++i) {
    const int32_t taken = cx_dlg_recv_data(item_.get(), nullptr);
    if (taken == CX_DLG_FAILED) return SessionState::kOwnerGone;
    if (taken < 1) break;
    if (item_->quit_flag == 1) return SessionState::kClosed;
    take_(*item_);
  }
  if (IsExpired()) return SessionState::kExpired;
  if (polls_until_watch_-- > 0) return SessionState::kOpen;
  polls_until_watch_ = kPollsPerWatch;
  return watch_.IsGone() ? SessionState::kOwnerGone : SessionState::kOpen;
}

int PromptSession::SecondsLeft() const {
  const auto left = seconds(timeout_s_) - (Clock::now() - start_);
  const int64_t left_ms = duration_cast<milliseconds>(left).count();
  return static_cast<int>(std::max<int64_t>(0, (left_ms + 999) / 1000));
}

bool PromptSession::IsExpired() const {
  return timeout_s_ > 0 &&
         Clock::now() - start_ > seconds(timeout_s_) + kExpiryMargin;
}

}  // namespace corvex
