// Comparison of two minutiae records. May be called from any number of threads
// at once; each keeps the prints of its last comparison prepared, so that a
// repeated first record costs less.
#ifndef SRC_MVMATCH_MVMATCH_H_
#define SRC_MVMATCH_MVMATCH_H_

#include <cstdint>

#include "MvMatch/minutiae_record.h"

// Score 0-100 of two records, or -110 when either is null or invalid. Of each
// record 3 + 5 * (third byte) bytes must be readable. Not symmetric: swapping
// the records may change the score.
int32_t MivoMatchFinger(const uint8_t* first_record,
                        const uint8_t* second_record);

// The score of two records in working form.
int32_t _MivoMatchFinger(const corvex::WorkingForm* first_working,
                         const corvex::WorkingForm* second_working);

// Length of a record in bytes, 3 to 253, or -110 when it is null or invalid.
int32_t GetMivoMinutLen(const uint8_t* record);

#endif  // SRC_MVMATCH_MVMATCH_H_
