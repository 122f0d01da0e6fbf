// Candidates that share sticks form groups; each group adds to the total.
#ifndef SRC_MVMATCH_STICK_GROUPS_H_
#define SRC_MVMATCH_STICK_GROUPS_H_

#include <cstdint>

#include "MvMatch/limits.h"
#include "MvMatch/pairing.h"

namespace corvex {

struct Group {
  uint16_t members;
  uint16_t first_sticks;   // distinct ones
  uint16_t second_sticks;  // distinct ones
  uint16_t best;           // score
  uint16_t first_total;    // each first stick's best score added up
  uint16_t second_total;   // each second stick's
};

// The candidates as a forest: a tree for each group.
struct GroupForest {
  uint16_t parent[kMaxKept];  // candidate index, towards the group's root
  Group group[kMaxKept];      // by root
};

// By stick: first a candidate's index plus one, then a score plus one. All zero
// between two calls, so that nothing has to be cleared but what was used.
struct GroupSticks {
  uint16_t of_first[2 * kMaxMinutiaPairs];
  uint16_t of_second[kMaxMinutiaPairs];
};

// The total of all groups of the candidates, kMaxKept at most.
int32_t SumGroups(const Candidates& candidates, GroupForest* forest,
                  GroupSticks* sticks);

}  // namespace corvex

#endif  // SRC_MVMATCH_STICK_GROUPS_H_
