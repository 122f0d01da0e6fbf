#include "MvMatch/stick_groups.h"

#include <algorithm>

namespace corvex {
namespace {

uint32_t RootOf(uint32_t i, uint16_t* parent) {
  while (parent[i] != i) {
    parent[i] = parent[parent[i]];
    i = parent[i];
  }
  return i;
}

// Joins candidate i with the one that was seen with this stick before.
void Join(uint32_t i, uint16_t* seen, uint16_t* parent) {
  if (*seen == 0) {
    *seen = static_cast<uint16_t>(i + 1);
    return;
  }
  const uint32_t root = RootOf(*seen - 1u, parent);
  parent[RootOf(i, parent)] = static_cast<uint16_t>(root);
}

// Counts a stick once and its best score once. `best` is that score plus one.
void AddStick(uint32_t score, uint16_t* best, uint16_t* sticks,
              uint16_t* total) {
  if (*best == 0) {
    ++*sticks;
    *best = 1;
  }
  if (score + 1 <= *best) return;
  *total = static_cast<uint16_t>(*total + score + 1 - *best);
  *best = static_cast<uint16_t>(score + 1);
}

void ClearSticks(const Candidates& candidates, GroupSticks* sticks) {
  for (int32_t i = 0; i < candidates.count; ++i) {
    sticks->of_first[FirstStickOf(candidates.packed[i])] = 0;
    sticks->of_second[SecondStickOf(candidates.packed[i])] = 0;
  }
}

// Sharing a stick, with one member of a group at least, is what makes a
// candidate join: groups are the connected components.
void FindGroups(const Candidates& candidates, GroupForest* forest,
                GroupSticks* sticks) {
  for (int32_t i = 0; i < candidates.count; ++i) {
    const uint32_t c = candidates.packed[i];
    const auto index = static_cast<uint32_t>(i);
    forest->parent[i] = static_cast<uint16_t>(i);
    forest->group[i] = {};
    Join(index, &sticks->of_first[FirstStickOf(c)], forest->parent);
    Join(index, &sticks->of_second[SecondStickOf(c)], forest->parent);
  }
  ClearSticks(candidates, sticks);
}

void FillGroups(const Candidates& candidates, GroupForest* forest,
                GroupSticks* sticks) {
  for (int32_t i = 0; i < candidates.count; ++i) {
    const uint32_t c = candidates.packed[i];
    const uint32_t score = ScoreOf(c);
    Group& group =
        forest->group[RootOf(static_cast<uint32_t>(i), forest->parent)];
    ++group.members;
    group.best = std::max(group.best, static_cast<uint16_t>(score));
    AddStick(score, &sticks->of_first[FirstStickOf(c)], &group.first_sticks,
             &group.first_total);
    AddStick(score, &sticks->of_second[SecondStickOf(c)], &group.second_sticks,
             &group.second_total);
  }
  ClearSticks(candidates, sticks);
}

// Each stick of the side that has fewer adds its best score.
int32_t ScoreOf(const Group& group) {
  if (group.members <= kSmallGroup) return group.best;
  return group.first_sticks <= group.second_sticks ? group.first_total
                                                   : group.second_total;
}

}  // namespace

static_assert(kMaxKept * kMaxPairScore < 1 << 16, "totals fit");

int32_t SumGroups(const Candidates& candidates, GroupForest* forest,
                  GroupSticks* sticks) {
  FindGroups(candidates, forest, sticks);
  FillGroups(candidates, forest, sticks);
  int32_t total = 0;
  for (int32_t i = 0; i < candidates.count; ++i) {
    total += ScoreOf(forest->group[i]);  // nothing, unless i is a root
  }
  return total;
}

}  // namespace corvex
