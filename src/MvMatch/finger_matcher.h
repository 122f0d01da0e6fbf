// The comparison that docs/matcher.md explains, fast. Its results equal those
// of the plain form (tests/reference) on every input;
// docs/matcher-performance.md says by which tricks, and why they change
// nothing.
#ifndef SRC_MVMATCH_FINGER_MATCHER_H_
#define SRC_MVMATCH_FINGER_MATCHER_H_

#include <cstdint>

#include "MvMatch/alignment.h"
#include "MvMatch/first_print.h"
#include "MvMatch/minutiae_record.h"
#include "MvMatch/pairing.h"
#include "MvMatch/print_sticks.h"
#include "MvMatch/stick_groups.h"

namespace corvex {

// Owns the caches of both sides and all work space; for one thread at a time.
// All zero is a valid state: that of two empty prints.
class FingerMatcher {
 public:
  // The score, 0-100. Repeating a print as the same argument is faster. A
  // score below `least` may be given as 0, as soon as that is certain.
  int32_t Compare(const WorkingForm& first, const WorkingForm& second,
                  int32_t least = 0);

 private:
  struct PairWork {
    Candidates candidates;
    union {  // the forest grows when pairing is over
      PairingSpace pairing;
      GroupForest forest;
    };
  };

  FirstPrint first_;
  SecondPrint second_;
  GroupSticks group_sticks_;
  AlignmentSpace alignment_;
  union {  // the first print's index is built before any pairing
    FirstPrintScratch scratch_;
    PairWork work_;
  };
};

}  // namespace corvex

#endif  // SRC_MVMATCH_FINGER_MATCHER_H_
