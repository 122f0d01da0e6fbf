// Which record each press of each finger gives.
#ifndef APPS_VIRTUAL_READER_FINGER_BOOK_H_
#define APPS_VIRTUAL_READER_FINGER_BOOK_H_

#include <map>
#include <optional>
#include <string>

#include "virtual_reader/bytes.h"

namespace corvex::vreader {

// Fingers are named by a text, mostly a number; impressions count from 1. A
// number that was not added is a synthetic finger, with impressions without
// end, unless the book is to hold added records only.
class FingerBook {
 public:
  static FingerBook OfAddedOnly();

  // A record of any kind, also one that no reader would give.
  void Add(const std::string& finger, int impression, Bytes record);

  // Nothing for a finger, or an impression of it, that the book does not have.
  // Impression 0 stands for the first one.
  std::optional<Bytes> Find(const std::string& finger, int impression) const;

  // The impression that follows; after the last one comes the first again.
  int Following(const std::string& finger, int impression) const;

 private:
  std::map<std::string, std::map<int, Bytes>> records_;
  bool has_synthetic_ = true;
};

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_FINGER_BOOK_H_
