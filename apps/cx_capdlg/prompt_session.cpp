#include "cx_capdlg/prompt_session.h"

#include <sys/shm.h>

#include <algorithm>

#include "extern/smo_opt/smo_base1.h"

namespace corvex {
namespace {

using std::chrono::ceil;
using std::chrono::seconds;

// A kind has one slot, so three items are the most that can be pending.
constexpr int kItemsPerPoll = 3;

// The driver may still read the last press and merge after its time is up.
constexpr seconds kExpiryMargin{10};

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
    take(*item_);
  }
  if (timeout_s_ > 0 && now - start_ > seconds(timeout_s_) + kExpiryMargin) {
    return SessionState::kExpired;
  }
  return IsOwnerGone() ? SessionState::kOwnerGone : SessionState::kOpen;
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
