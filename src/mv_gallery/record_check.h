// Whether a record can be compared, and if not, why.
#ifndef SRC_MV_GALLERY_RECORD_CHECK_H_
#define SRC_MV_GALLERY_RECORD_CHECK_H_

#include <cstddef>
#include <cstdint>

#include "MvMatch/minutiae_record.h"

namespace corvex {

// Converts a record of which `bytes` bytes are there, and no more are read.
// Returns its length, or the MV_ERR_* code of what is wrong; `problem`, if not
// null, gets that as a text of MV_PROBLEM_BYTES at most.
int32_t ReadRecord(const void* record, size_t bytes, WorkingForm* working,
                   char* problem);

// The bytes of a record's text, into MV_RECORD_BYTES; results as above.
int32_t DecodeRecord(const char* text, size_t length, uint8_t* record,
                     char* problem);

}  // namespace corvex

#endif  // SRC_MV_GALLERY_RECORD_CHECK_H_
