#include "cx_capdlg/owner_watch.h"

#include <sys/shm.h>

#include "extern/smo_opt/smo_base1.h"

namespace corvex {
namespace {

// The channel keeps one attachment a process.
constexpr shmatt_t kOwnAttachments = 1;

int PresentSegment() { return shmget(SegmentKey(kSegmentPath), 0, 0); }

}  // namespace

OwnerWatch::OwnerWatch() : segment_(PresentSegment()) {}

bool OwnerWatch::IsGone() const {
  if (segment_ == -1 || PresentSegment() != segment_) return true;
  shmid_ds info{};
  return shmctl(segment_, IPC_STAT, &info) != 0 ||
         info.shm_nattch <= kOwnAttachments;
}

}  // namespace corvex
