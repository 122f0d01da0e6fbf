#include "gallery/searchable.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "long_work.h"

namespace corvex::mvfp {
namespace {

Failure SearchFailure(int64_t code) {
  if (code == MV_ERR_STOPPED) return LongWork::Interrupted();
  return Failure{mv_error_text(static_cast<int>(code)),
                 "look at the record: mvfp inspect RECORD"};
}

int ShowProgress(size_t done, size_t /*total*/, void* work) {
  return static_cast<LongWork*>(work)->GoesOn(done) ? 0 : 1;
}

}  // namespace

Json FieldsOf(const Hit& hit) {
  return {{"id", hit.id},
          {"finger", hit.finger},
          {"score", hit.score},
          {"level", hit.level}};
}

Searchable::Searchable(const GalleryFile& file, const std::string& id)
    : gallery_(mv_gallery_new()) {
  if (gallery_ == nullptr) throw SearchFailure(MV_ERR_MEMORY);
  file.ForEach(id, [this](const GalleryEntry& entry) { Add(entry); });
}

// The file gives the records of an id one after the other.
void Searchable::Add(const GalleryEntry& entry) {
  if (!fingers_.empty() && fingers_.back().id != entry.id) ++number_of_id_;
  const int code = mv_gallery_add(gallery_.get(), number_of_id_,
                                  static_cast<int32_t>(fingers_.size()),
                                  entry.record.data(), entry.record.size());
  if (code != MV_OK) throw SearchFailure(code);
  fingers_.push_back({entry.id, entry.finger});
}

std::vector<Hit> Searchable::Search(const std::string& text, int level,
                                    size_t best) const {
  uint8_t probe[MV_RECORD_BYTES];
  const int length =
      mv_record_from_text(text.data(), text.size(), probe, nullptr);
  if (length < 0) throw SearchFailure(length);
  LongWork work("searching", Count());
  mv_search_options wanted = {};
  wanted.level = level;
  wanted.progress = ShowProgress;
  wanted.user = &work;
  std::vector<mv_hit> found(best);
  const int64_t count =
      mv_gallery_search(gallery_.get(), probe, static_cast<size_t>(length),
                        &wanted, found.data(), found.size());
  if (count < 0) throw SearchFailure(count);
  found.resize(static_cast<size_t>(count));
  std::vector<Hit> hits;
  for (const mv_hit& hit : found) {
    const Finger& finger = fingers_[static_cast<size_t>(hit.finger)];
    hits.push_back({finger.id, finger.name, hit.score, mv_level(hit.score)});
  }
  return hits;
}

}  // namespace corvex::mvfp
