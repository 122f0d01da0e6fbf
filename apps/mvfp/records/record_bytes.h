// A record as bytes, which is how the gallery and the matcher take it.
#ifndef APPS_MVFP_RECORDS_RECORD_BYTES_H_
#define APPS_MVFP_RECORDS_RECORD_BYTES_H_

#include <string>

namespace corvex::mvfp {

// The bytes of a text; none when it is no record that could be compared, and
// `problem` then says why.
std::string RecordOf(const std::string& text, std::string* problem);

// The reverse.
std::string TextOf(const std::string& record);

int CountMinutiae(const std::string& record);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_RECORDS_RECORD_BYTES_H_
