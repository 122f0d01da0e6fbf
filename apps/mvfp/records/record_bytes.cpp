#include "records/record_bytes.h"

#include <mv_match.h>

#include <algorithm>

namespace corvex::mvfp {

std::string RecordOf(const std::string& text, std::string* problem) {
  char bytes[MV_RECORD_BYTES];
  char why[MV_PROBLEM_BYTES] = "";
  const int length = mv_record_from_text(text.data(), text.size(), bytes, why);
  *problem = why;
  return {bytes, static_cast<size_t>(std::max(length, 0))};
}

std::string TextOf(const std::string& record) {
  char text[MV_RECORD_TEXT_BYTES] = "";
  mv_record_to_text(record.data(), record.size(), text, sizeof text);
  return text;
}

int CountMinutiae(const std::string& record) {
  return static_cast<uint8_t>(record[2]);
}

}  // namespace corvex::mvfp
