// Records in memory, by id and finger, and the search among them.
#ifndef SRC_MV_GALLERY_GALLERY_H_
#define SRC_MV_GALLERY_GALLERY_H_

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "MvMatch/limits.h"
#include "mv_match.h"

namespace corvex {

struct Entry {
  int64_t id;
  int32_t finger;
  uint8_t record[kMaxRecordBytes];
};

// Entries in blocks, so that growing moves none and needs no second room. Not
// guarded by itself. May throw bad_alloc, and has then not changed.
class EntryStore {
 public:
  EntryStore() = default;
  ~EntryStore() { Shrink(0); }
  EntryStore(const EntryStore&) = delete;
  EntryStore& operator=(const EntryStore&) = delete;

  size_t Count() const { return count_; }
  const Entry& operator[](size_t index) const {
    return blocks_[index / kBlockEntries][index % kBlockEntries];
  }
  void Add(const Entry& entry);
  // Returns how many there were.
  size_t Remove(int64_t id);

 private:
  static constexpr size_t kBlockEntries = 1024;

  Entry& At(size_t index) {
    return blocks_[index / kBlockEntries][index % kBlockEntries];
  }
  void Shrink(size_t count);

  size_t count_ = 0;
  std::vector<std::unique_ptr<Entry[]>> blocks_;
};

}  // namespace corvex

// Any number of readers, or one writer, which goes before further readers.
struct mv_gallery {
  mv_gallery();
  ~mv_gallery();
  mv_gallery(const mv_gallery&) = delete;
  mv_gallery& operator=(const mv_gallery&) = delete;

  corvex::EntryStore entries;
  mutable pthread_rwlock_t lock;
};

#endif  // SRC_MV_GALLERY_GALLERY_H_
