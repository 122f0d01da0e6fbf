#include "virtual_reader/finger_book.h"

namespace corvex::vreader {

void FingerBook::Add(const std::string& finger, int impression, Bytes record) {
  records_[finger][impression] = std::move(record);
}

std::optional<Bytes> FingerBook::Find(const std::string& finger,
                                      int impression) const {
  const auto impressions = records_.find(finger);
  if (impressions == records_.end()) return std::nullopt;
  const auto record = impression == 0 ? impressions->second.begin()
                                      : impressions->second.find(impression);
  if (record == impressions->second.end()) return std::nullopt;
  return record->second;
}

int FingerBook::Following(const std::string& finger, int impression) const {
  const auto impressions = records_.find(finger);
  if (impressions == records_.end()) return 1;
  const auto next = impressions->second.upper_bound(impression);
  return next != impressions->second.end() ? next->first
                                           : impressions->second.begin()->first;
}

}  // namespace corvex::vreader
