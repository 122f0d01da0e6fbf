#include "mv_gallery/gallery.h"

#include "mv_base/wipe.h"

namespace corvex {

void EntryStore::Add(const Entry& entry) {
  if (count_ == blocks_.size() * kBlockEntries) {
    blocks_.push_back(nullptr);
    try {
      blocks_.back() = std::unique_ptr<Entry[]>(new Entry[kBlockEntries]);
    } catch (...) {
      blocks_.pop_back();
      throw;
    }
  }
  At(count_++) = entry;
}

// The last entries fill the holes: a search does not depend on their order.
size_t EntryStore::Remove(int64_t id) {
  size_t kept = count_;
  for (size_t i = 0; i < kept;) {
    if (At(i).id != id) {
      ++i;
    } else {
      At(i) = At(--kept);
    }
  }
  const size_t removed = count_ - kept;
  Shrink(kept);
  return removed;
}

void EntryStore::Shrink(size_t count) {
  while (count_ > count) Wipe(&At(--count_), sizeof(Entry));
  blocks_.resize((count + kBlockEntries - 1) / kBlockEntries);
}

}  // namespace corvex

mv_gallery::mv_gallery() {
  pthread_rwlockattr_t attributes;
  pthread_rwlockattr_init(&attributes);
  // Otherwise a gallery that is always searched could never be changed.
  pthread_rwlockattr_setkind_np(&attributes,
                                PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
  pthread_rwlock_init(&lock, &attributes);
  pthread_rwlockattr_destroy(&attributes);
}

mv_gallery::~mv_gallery() { pthread_rwlock_destroy(&lock); }
