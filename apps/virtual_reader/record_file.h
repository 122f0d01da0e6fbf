// Fingers from a text of records.
#ifndef APPS_VIRTUAL_READER_RECORD_FILE_H_
#define APPS_VIRTUAL_READER_RECORD_FILE_H_

#include <string>
#include <string_view>
#include <vector>

#include "virtual_reader/finger_book.h"

namespace corvex::vreader {

struct RecordFile {
  FingerBook book = FingerBook::OfAddedOnly();
  std::vector<std::string> errors;  // each names its line
};

// A line is either one record, as hexadecimal or Base64 text, and then a finger
// of its own; or four columns between tabs: database, finger, impression,
// record. Fingers are numbered from 1 in the order in which they appear; those
// with columns are also known as "database/finger". Blank lines and lines that
// begin with "#" are skipped.
RecordFile ParseRecords(std::string_view text);

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_RECORD_FILE_H_
