#include "extern/smo_opt/smo_base0.h"

#include <sys/ipc.h>
#include <sys/shm.h>

namespace {

constexpr int kProjectId = 65;
constexpr int kPermissions = 0666;

bool Holds(int id, size_t bytes) {
  shmid_ds info{};
  return shmctl(id, IPC_STAT, &info) == 0 && info.shm_segsz >= bytes;
}

}  // namespace

int32_t SegmentKey(const char* path) { return ftok(path, kProjectId); }

int32_t CxSmoBase0::sm_create(const char* path, int32_t size) {
  sm_id_ = shmget(SegmentKey(path), static_cast<size_t>(size),
                  IPC_CREAT | kPermissions);
  return sm_id_ == -1 ? -1 : Attach(sm_id_);
}

int32_t CxSmoBase0::sm_get_address(const char* path, size_t least_bytes) {
  const int id = shmget(SegmentKey(path), 0, kPermissions);
  if (id == -1 || !Holds(id, least_bytes)) return -1;
  return Attach(id);
}

int32_t CxSmoBase0::sm_delete() {
  if (sm_id_ != -1) shmctl(sm_id_, IPC_RMID, nullptr);
  sm_id_ = -1;
  if (sm_address_ != nullptr) shmdt(sm_address_);
  sm_address_ = nullptr;
  return 0;
}

// The old attachment goes, or a window that polls for an hour would use up the
// process's mappings; it goes after the new one has come, so that the segment
// always counts a living owner.
int32_t CxSmoBase0::Attach(int id) {
  void* const address = shmat(id, nullptr, 0);
  if (address == reinterpret_cast<void*>(-1)) return -1;
  if (sm_address_ != nullptr) shmdt(sm_address_);
  sm_address_ = address;
  return 0;
}
