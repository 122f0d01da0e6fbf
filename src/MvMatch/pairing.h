// Sticks of the first print paired with sticks of the second.
#ifndef SRC_MVMATCH_PAIRING_H_
#define SRC_MVMATCH_PAIRING_H_

#include <cstdint>

#include "MvMatch/first_print.h"
#include "MvMatch/limits.h"
#include "MvMatch/print_sticks.h"

namespace corvex {

// A candidate in 32 bits: first stick, second print's pair, score.
constexpr int32_t kFirstStickShift = 16;
constexpr int32_t kSecondStickShift = 5;
constexpr int32_t kSecondStickBits = 11;
static_assert(kMaxPairScore < 1 << kSecondStickShift, "scores fit");
static_assert(kMaxMinutiaPairs < 1 << kSecondStickBits, "pairs fit");
static_assert(kSecondStickShift + kSecondStickBits == kFirstStickShift, "");

constexpr uint32_t FirstStickOf(uint32_t c) { return c >> kFirstStickShift; }
constexpr uint32_t SecondStickOf(uint32_t c) {
  return c >> kSecondStickShift & ((1u << kSecondStickBits) - 1);
}
constexpr uint32_t ScoreOf(uint32_t c) {
  return c & ((1u << kSecondStickShift) - 1);
}

// Words of rows with at least one bit set, and where they belong: the packed
// candidate (without a score) of the word's lowest bit.
constexpr int32_t kMaxHits = 1536;
constexpr int32_t kMostLanes = 2 * kLanes;  // of the widest registers used
struct Hits {
  int32_t count;
  uint64_t word[kMaxHits];
  uint32_t place[kMaxHits + kMostLanes];
};

// Room to go beyond the limit before the order of the tables decides.
constexpr int32_t kCandidateRoom = 4096;
static_assert(kCandidateRoom > kMaxCandidates, "");

struct Candidates {
  int32_t count;
  uint32_t packed[kCandidateRoom];
  uint16_t rotation[kCandidateRoom];  // between the sticks, 0-359 degrees
};

// How the sticks of many pairs differ, each trait of all pairs in a row.
// Rotations are 0-359 degrees.
struct TraitDifferences {
  static constexpr int32_t kPairs = 128;
  uint16_t square_sum[kPairs];  // of length and angles
  uint16_t factors[kPairs];     // both ends' weight factors, kFactorBits apart
  uint16_t kinds[kPairs];       // ends that differ in kind
  uint16_t from_rotation[kPairs];
  uint16_t to_rotation[kPairs];
  uint16_t rotation[kPairs];
};

struct PairingSpace {
  Hits hits;
  TraitDifferences differences;
  // The first print's; once the candidates were cut, those that end where
  // segments come too late.
  const Bands* bands;
  Bands cut_bands;
  uint32_t rotation_votes[kFullTurnDegrees];
};

// Fills `candidates` with the first kMaxCandidates pairs of the order of the
// tables, in any order, and space->rotation_votes with their votes.
void PairSticks(const FirstPrint& first, const SecondPrint& second,
                PairingSpace* space, Candidates* candidates);

// Drops all but the first `limit` candidates of the order of the tables; there
// are at least so many. Returns the order key of the last one.
uint32_t KeepFirst(int32_t limit, const SecondPrint& second,
                   Candidates* candidates);

}  // namespace corvex

#endif  // SRC_MVMATCH_PAIRING_H_
