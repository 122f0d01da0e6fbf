// Which record each press of each finger gives: records from a file or a test,
// or synthetic ones.
#ifndef APPS_VIRTUAL_READER_FINGERS_H_
#define APPS_VIRTUAL_READER_FINGERS_H_

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "virtual_reader/bytes.h"

namespace corvex::vreader {

// A finger that nobody has: a minutiae record made of numbers alone.
//
// A finger is some 45 minutiae, spaced and turned as the ridges of an arch, a
// loop or a whorl would have it. An impression of it is what one press shows:
// displaced, turned and stretched, some minutiae missing, some that are not
// there, every value a little off. The same numbers give the same record on
// every machine, byte for byte.
Bytes SyntheticRecord(uint32_t finger, uint32_t impression);

// Fingers are named by a text, mostly a number; impressions count from 1. A
// number that was not added is a synthetic finger, with impressions without
// end, unless the book is to hold added records only.
class FingerBook {
 public:
  FingerBook() = default;
  explicit FingerBook(bool has_synthetic) : has_synthetic_(has_synthetic) {}

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

struct RecordFile {
  FingerBook book{false};
  std::vector<std::string> errors;  // each names its line
};

// A line is either one record, as hexadecimal or Base64 text, and then a finger
// of its own; or four columns between tabs: database, finger, impression,
// record. Fingers are numbered from 1 in the order in which they appear; those
// with columns are also known as "database/finger". Blank lines and lines that
// begin with "#" are skipped.
RecordFile ParseRecords(std::string_view text);

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_FINGERS_H_
