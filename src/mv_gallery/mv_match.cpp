// The exported calls: arguments, locks and codes. Nothing throws past here.
#include "mv_match.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "MvMatch/MvMatch.h"
#include "MvMatch/thresholds.h"
#include "MvSynth/MvSynth.h"
#include "mv_base/base64.h"
#include "mv_base/wipe.h"
#include "mv_gallery/gallery.h"
#include "mv_gallery/record_check.h"
#include "mv_gallery/search.h"

namespace {

using corvex::kMatchThresholds;
using corvex::WipeAtEnd;
using corvex::WorkingForm;

static_assert(sizeof kMatchThresholds / sizeof *kMatchThresholds ==
              MV_LEVEL_HIGHEST + 1);

static_assert(MV_MAX_CAPTURES == corvex::kMaxCaptures);

class ReadLock {
 public:
  explicit ReadLock(const mv_gallery* gallery) : lock_(&gallery->lock) {
    pthread_rwlock_rdlock(lock_);
  }
  ~ReadLock() { pthread_rwlock_unlock(lock_); }
  ReadLock(const ReadLock&) = delete;
  ReadLock& operator=(const ReadLock&) = delete;

 private:
  pthread_rwlock_t* const lock_;
};

class WriteLock {
 public:
  explicit WriteLock(mv_gallery* gallery) : lock_(&gallery->lock) {
    pthread_rwlock_wrlock(lock_);
  }
  ~WriteLock() { pthread_rwlock_unlock(lock_); }
  WriteLock(const WriteLock&) = delete;
  WriteLock& operator=(const WriteLock&) = delete;

 private:
  pthread_rwlock_t* const lock_;
};

bool Valid(const mv_search_options& options) {
  return options.least_score >= 0 && options.least_score <= MV_SCORE_MAX &&
         options.level >= 0 && options.level <= MV_LEVEL_HIGHEST &&
         options.threads >= 0;
}

}  // namespace

const char* mv_error_text(int code) {
  switch (code) {
    case MV_ERR_ARGUMENT:
      return "an argument is null or out of its range";
    case MV_ERR_MALFORMED:
      return "the record is malformed";
    case MV_ERR_ENDS_EARLY:
      return "the record ends early";
    case MV_ERR_DUAL_FEATURE:
      return "a dual-feature record is for the algorithm library";
    case MV_ERR_MEMORY:
      return "out of memory";
    case MV_ERR_STOPPED:
      return "the search was stopped";
    case MV_ERR_NO_ROOM:
      return "there is no room for the result";
    case MV_ERR_EMPTY:
      return "the gallery is empty";
    case MV_ERR_NO_SUCH_ID:
      return "the gallery has no record of this id";
    default:
      return code >= 0 ? "success" : "an unknown code";
  }
}

int mv_check_record(const void* record, size_t bytes, char* problem) {
  WorkingForm working;
  const WipeAtEnd wipe(&working);
  return std::min(MV_OK + 0,
                  corvex::ReadRecord(record, bytes, &working, problem));
}

int mv_record_from_text(const char* text, size_t length, void* record,
                        char* problem) {
  if (record == nullptr) return MV_ERR_ARGUMENT;
  return corvex::DecodeRecord(text, length, static_cast<uint8_t*>(record),
                              problem);
}

int mv_record_to_text(const void* record, size_t bytes, char* text,
                      size_t text_bytes) {
  WorkingForm working;
  const WipeAtEnd wipe(&working);
  const int32_t length = corvex::ReadRecord(record, bytes, &working, nullptr);
  if (length < 0) return length;
  if (text == nullptr) return MV_ERR_ARGUMENT;
  if (text_bytes <= static_cast<size_t>(Base64Length(length))) {
    return MV_ERR_NO_ROOM;
  }
  return EncodeB64(text, static_cast<const uint8_t*>(record), length);
}

int mv_compare(const void* first, size_t first_bytes, const void* second,
               size_t second_bytes) {
  WorkingForm a;
  WorkingForm b;
  const WipeAtEnd wipe_a(&a);
  const WipeAtEnd wipe_b(&b);
  int32_t code = corvex::ReadRecord(first, first_bytes, &a, nullptr);
  if (code < 0) return code;
  code = corvex::ReadRecord(second, second_bytes, &b, nullptr);
  return code < 0 ? code : _MivoMatchFinger(&a, &b);
}

int mv_compare_text(const char* first, const char* second) {
  if (first == nullptr || second == nullptr) return MV_ERR_ARGUMENT;
  uint8_t a[MV_RECORD_BYTES];
  uint8_t b[MV_RECORD_BYTES];
  const WipeAtEnd wipe_a(&a);
  const WipeAtEnd wipe_b(&b);
  const int32_t a_bytes =
      corvex::DecodeRecord(first, std::strlen(first), a, nullptr);
  if (a_bytes < 0) return a_bytes;
  const int32_t b_bytes =
      corvex::DecodeRecord(second, std::strlen(second), b, nullptr);
  return b_bytes < 0 ? b_bytes
                     : mv_compare(a, static_cast<size_t>(a_bytes), b,
                                  static_cast<size_t>(b_bytes));
}

int mv_threshold(int level) {
  return level < MV_LEVEL_LOWEST || level > MV_LEVEL_HIGHEST
             ? MV_ERR_ARGUMENT
             : kMatchThresholds[level];
}

int mv_level(int score) {
  int level = MV_LEVEL_HIGHEST;
  while (level >= MV_LEVEL_LOWEST && score <= kMatchThresholds[level]) --level;
  return level;
}

int mv_choose_template(const void* const* records, const size_t* bytes,
                       size_t count, size_t* chosen) {
  if (records == nullptr || bytes == nullptr || chosen == nullptr ||
      count < 1 || count > MV_MAX_CAPTURES) {
    return MV_ERR_ARGUMENT;
  }
  uint8_t slots[MV_MAX_CAPTURES * corvex::kCaptureSlotBytes];
  WorkingForm working;
  const WipeAtEnd wipe_slots(&slots);
  const WipeAtEnd wipe_working(&working);
  for (size_t i = 0; i < count; ++i) {
    const int32_t length =
        corvex::ReadRecord(records[i], bytes[i], &working, nullptr);
    if (length < 0) return length;
    std::memcpy(slots + i * corvex::kCaptureSlotBytes, records[i],
                static_cast<size_t>(length));
  }
  uint8_t index = 0;
  const int32_t lowest = MivoSynthMinut(slots, static_cast<int32_t>(count),
                                        nullptr, &index, nullptr);
  *chosen = index;
  return lowest;
}

mv_gallery* mv_gallery_new(void) { return new (std::nothrow) mv_gallery; }

void mv_gallery_free(mv_gallery* gallery) { delete gallery; }

int mv_gallery_add(mv_gallery* gallery, int64_t id, int32_t finger,
                   const void* record, size_t bytes) {
  if (gallery == nullptr) return MV_ERR_ARGUMENT;
  WorkingForm working;
  corvex::Entry entry = {id, finger, {}};
  const WipeAtEnd wipe_working(&working);
  const WipeAtEnd wipe_entry(&entry);
  const int32_t length = corvex::ReadRecord(record, bytes, &working, nullptr);
  if (length < 0) return length;
  std::memcpy(entry.record, record, static_cast<size_t>(length));
  try {
    const WriteLock lock(gallery);
    gallery->entries.Add(entry);
  } catch (const std::bad_alloc&) {
    return MV_ERR_MEMORY;
  }
  return MV_OK;
}

int mv_gallery_remove(mv_gallery* gallery, int64_t id) {
  if (gallery == nullptr) return MV_ERR_ARGUMENT;
  const WriteLock lock(gallery);
  const size_t removed = gallery->entries.Remove(id);
  return removed == 0 ? MV_ERR_NO_SUCH_ID : static_cast<int>(removed);
}

size_t mv_gallery_count(const mv_gallery* gallery) {
  if (gallery == nullptr) return 0;
  const ReadLock lock(gallery);
  return gallery->entries.Count();
}

int64_t mv_gallery_search(const mv_gallery* gallery, const void* probe,
                          size_t bytes, const mv_search_options* options,
                          mv_hit* hits, size_t room) {
  constexpr mv_search_options kUsual = {};
  const mv_search_options& wanted = options != nullptr ? *options : kUsual;
  if (gallery == nullptr || hits == nullptr || !Valid(wanted)) {
    return MV_ERR_ARGUMENT;
  }
  if (room == 0) return MV_ERR_NO_ROOM;
  WorkingForm working;
  const WipeAtEnd wipe(&working);
  const int32_t length = corvex::ReadRecord(probe, bytes, &working, nullptr);
  if (length < 0) return length;
  const ReadLock lock(gallery);
  if (gallery->entries.Count() == 0) return MV_ERR_EMPTY;
  return corvex::SearchEntries(gallery->entries, working, wanted, hits, room);
}
