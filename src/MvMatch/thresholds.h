// What a score must exceed at each security level.
#ifndef SRC_MVMATCH_THRESHOLDS_H_
#define SRC_MVMATCH_THRESHOLDS_H_

#include <cstdint>

namespace corvex {

// Indexed by level, of which 0 decides nothing.
constexpr int32_t kMatchThresholds[] = {0, 30, 32, 36, 40, 45};

}  // namespace corvex

#endif  // SRC_MVMATCH_THRESHOLDS_H_
