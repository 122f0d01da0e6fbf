// The fingers that benchmarks compare: real ones when there are some, else
// made-up ones, 40 fingers of 8 impressions.
#ifndef BENCH_REAL_FINGERS_H_
#define BENCH_REAL_FINGERS_H_

#include <vector>

#include "reference/record_generator.h"

namespace bench {

// From fvc_fingers.tsv in the directory MV_REAL_DATA_DIR; which kind they are
// is said on standard error, once.
const std::vector<reference::Record>& Fingers();

}  // namespace bench

#endif  // BENCH_REAL_FINGERS_H_
