// The minutiae record and the form in which the matcher works on it.
//
// Record bytes: format tag (18), class, count N, then N entries of x, y,
// a little-endian word (direction in bits 0-8, weight in bits 9-15) and a kind
// byte (kind in bit 7, auxiliary value in bits 0-6). 3 + 5 * N bytes.
#ifndef SRC_MVMATCH_MINUTIAE_RECORD_H_
#define SRC_MVMATCH_MINUTIAE_RECORD_H_

#include <cstdint>

#include "MvMatch/limits.h"

namespace corvex {

struct Minutia {
  int16_t x;  // cells; signed: a print is turned and moved while compared
  int16_t y;  // cells, growing downwards
  int16_t direction;  // degrees, 0-359
  uint8_t weight;     // 0-100
  uint8_t kind;       // 1 or 2
  uint8_t auxiliary;  // 0-100, used by nobody
  uint8_t unused;     // 0, so that prints compare as bytes
};
static_assert(sizeof(Minutia) == 10, "no byte is left undefined");

struct MinutiaeVector {
  uint16_t count;
  Minutia entry[kMaxMinutiae];  // zero from count on
};

struct WorkingForm {
  uint8_t format_tag;
  uint8_t record_class;
  uint8_t count;
  MinutiaeVector minutiae;
};

}  // namespace corvex

// Fills `working` from `record`, of which 3 + 5 * N bytes are read at most.
// Returns the record's length, or 0 when it is invalid; `working` is then
// partly filled and of no use.
int32_t ConvertTransferFormat(corvex::WorkingForm* working,
                              const uint8_t* record);

namespace corvex {

// The length of `record`, or kBadRecord when it is null or invalid.
int32_t RecordLength(const uint8_t* record);

}  // namespace corvex

#endif  // SRC_MVMATCH_MINUTIAE_RECORD_H_
