// What a score must exceed. The algorithm library scores on another scale than
// the built-in matcher (MvMatch/thresholds.h).
#ifndef SRC_MV_FPI_THRESHOLDS_H_
#define SRC_MV_FPI_THRESHOLDS_H_

#include <cstdint>
#include <iterator>

#include "MvMatch/thresholds.h"
#include "mv_fpi.h"

namespace corvex {

// For a match; indexed by level, of which 0 decides nothing.
constexpr int32_t kLibraryMatchThresholds[] = {0, 38, 40, 45, 50, 55};
static_assert(std::size(kMatchThresholds) == FG_LEVEL_HIGHEST + 1);
static_assert(std::size(kLibraryMatchThresholds) == FG_LEVEL_HIGHEST + 1);

// For a template: the agreement of the presses.
constexpr int32_t kSynthesisThreshold = 35;
constexpr int32_t kLibrarySynthesisThreshold = 36;

}  // namespace corvex

#endif  // SRC_MV_FPI_THRESHOLDS_H_
