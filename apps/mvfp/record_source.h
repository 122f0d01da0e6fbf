// Where the command line says a record is.
#ifndef APPS_MVFP_RECORD_SOURCE_H_
#define APPS_MVFP_RECORD_SOURCE_H_

#include <string>

#include "record.h"
#include "report.h"

namespace corvex::mvfp {

struct SourcedRecord {
  std::string name;  // "the record", or where it was read from
  Record record;
};

// Reads the record that `argument` stands for: "-" is standard input, "@NAME"
// a file, NAME a file if there is one of that name, and anything else the text
// of the record itself. False, and the failure, when nothing could be read.
bool LoadRecord(const std::string& argument, SourcedRecord* loaded,
                Failure* failure);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_RECORD_SOURCE_H_
