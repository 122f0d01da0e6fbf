// A fingerprint record as the tool reads it: the text that carries it, the
// bytes, the minutiae, and everything that is wrong with them and where.
#ifndef APPS_MVFP_RECORDS_RECORD_H_
#define APPS_MVFP_RECORDS_RECORD_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "MvMatch/minutiae_record.h"

namespace corvex::mvfp {

// Something wrong. With a fatal finding this is not one whole record; the
// driver reads of some such what it can, which a person must not take for a
// finger.
struct Finding {
  bool fatal;
  std::string where;  // "character 12 of the text", "byte 2"
  std::string what;
};

struct Record {
  std::string source;  // "the record given", or where it was read from
  std::string text;    // Base64, as the driver takes it
  std::vector<uint8_t> bytes;
  int header_class = 0;
  bool is_dual_feature = false;   // its body is the algorithm library's affair
  int count = 0;                  // as announced
  std::vector<Minutia> minutiae;  // all that could be read, wrong ones too
  std::vector<Finding> findings;

  void Refuse(const std::string& where, const std::string& what) {
    findings.push_back({true, where, what});
  }
  void Note(const std::string& where, const std::string& what) {
    findings.push_back({false, where, what});
  }
};

bool IsValid(const Record& record);

// "door.feature: byte 2: count 51 is over 50".
std::string InWords(const Record& record, const Finding& finding);

// Reads the record that `argument` stands for: "-" is standard input, "@NAME"
// a file, NAME a file if there is one of that name, and anything else the text
// of the record itself: Base64, or hexadecimal digits. Line breaks in a file
// are no part of the text. Throws a Failure when nothing could be read.
Record LoadRecord(const std::string& argument);

// The same; throws a Failure, too, where it is not one whole record.
Record LoadWholeRecord(const std::string& argument);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_RECORDS_RECORD_H_
