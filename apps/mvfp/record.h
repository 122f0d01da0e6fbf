// A fingerprint record as the tool reads it: the text that carries it, the
// bytes, the minutiae, and everything that is wrong with them and where.
#ifndef APPS_MVFP_RECORD_H_
#define APPS_MVFP_RECORD_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace corvex::mvfp {

// Byte layout: tag, class, count, then five bytes a minutia.
constexpr int kRecordTag = 18;
constexpr size_t kHeadBytes = 3;
constexpr size_t kMinutiaBytes = 5;
constexpr int kMaxMinutiae = 50;
constexpr int kMaxDirection = 359;  // degrees
constexpr int kMaxWeight = 100;
constexpr int kMaxAuxiliary = 100;

// The lengths of text that a comparison accepts.
constexpr size_t kShortestText = 5;
constexpr size_t kLongestText = 1023;

struct Minutia {
  int x;
  int y;          // grows downwards
  int direction;  // degrees, counter-clockwise seen with y upwards
  int weight;     // 0 to 100
  int kind;       // 1 or 2
  int auxiliary;  // 0 to 100
};

// Something wrong. A fatal finding makes the driver refuse the record; the
// others it puts up with.
struct Finding {
  bool fatal;
  std::string where;  // "character 12 of the text", "byte 2"
  std::string what;
};

struct Record {
  std::string text;  // Base64, as the driver takes it
  std::vector<uint8_t> bytes;
  int header_class = 0;
  bool is_dual_feature = false;   // its body is the algorithm library's affair
  int count = 0;                  // as announced
  std::vector<Minutia> minutiae;  // all that could be read, wrong ones too
  std::vector<Finding> findings;

  bool IsValid() const;
};

// Reads a record from its Base64 text, or from hexadecimal digits (a record's
// first byte tells them apart: Base64 begins with "E", hexadecimal with "12").
Record ParseRecord(const std::string& text);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_RECORD_H_
