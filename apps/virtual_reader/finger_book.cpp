#include "virtual_reader/finger_book.h"

#include <algorithm>
#include <charconv>

#include "virtual_reader/synthetic_finger.h"

namespace corvex::vreader {
namespace {

// Nothing for a name that is no number from 1.
std::optional<Bytes> Synthesise(const std::string& finger, int impression) {
  const char* const end = finger.data() + finger.size();
  uint32_t number = 0;
  const auto read = std::from_chars(finger.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end || number == 0) {
    return std::nullopt;
  }
  return SyntheticRecord(number,
                         static_cast<uint32_t>(std::max(impression, 1)));
}

}  // namespace

FingerBook FingerBook::OfAddedOnly() {
  FingerBook book;
  book.has_synthetic_ = false;
  return book;
}

void FingerBook::Add(const std::string& finger, int impression, Bytes record) {
  records_[finger][impression] = std::move(record);
}

std::optional<Bytes> FingerBook::Find(const std::string& finger,
                                      int impression) const {
  const auto impressions = records_.find(finger);
  if (impressions == records_.end()) {
    return has_synthetic_ ? Synthesise(finger, impression) : std::nullopt;
  }
  const auto record = impression == 0 ? impressions->second.begin()
                                      : impressions->second.find(impression);
  if (record == impressions->second.end()) return std::nullopt;
  return record->second;
}

int FingerBook::Following(const std::string& finger, int impression) const {
  const auto impressions = records_.find(finger);
  if (impressions == records_.end()) return impression + 1;
  const auto next = impressions->second.upper_bound(impression);
  return next != impressions->second.end() ? next->first
                                           : impressions->second.begin()->first;
}

}  // namespace corvex::vreader
