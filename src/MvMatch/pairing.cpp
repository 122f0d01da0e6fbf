#include "MvMatch/pairing.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "MvMatch/pairing_kernels.h"
#include "MvMatch/trait_differences.h"

namespace corvex {
namespace {

constexpr int32_t FloorRoot(int32_t n) {
  int32_t root = 0;
  while ((root + 1) * (root + 1) <= n) ++root;
  return root;
}

// The bits of the rows let these through at most.
constexpr int32_t kMaxSquareSum =
    kMaxLengthDifferenceCells * kMaxLengthDifferenceCells +
    2 * kMaxAngleDifferenceDegrees * kMaxAngleDifferenceDegrees;
constexpr int32_t kProducts = kBestCloseness * kFullWeightFactor + 1;

// The functions that make a pair's score, by value. Closeness 0 and root 0 mean
// rejection: an accepted pair has at least 1 of both.
struct Tables {
  uint8_t closeness[kMaxSquareSum + 1];
  uint8_t root[(kFullWeightFactor + 1) << kFactorBits];
  // By number of different kinds, then by the product.
  uint8_t score[3][kProducts];
};

constexpr Tables MakeTables() {
  Tables t{};
  for (int32_t s = 0; s <= kMaxSquareSum; ++s) {
    const int32_t distance = FloorRoot(s);
    t.closeness[s] = static_cast<uint8_t>(
        distance > kMaxStickDistance ? 0 : kBestCloseness - distance);
  }
  for (int32_t a = 0; a <= kFullWeightFactor; ++a) {
    for (int32_t b = 0; b <= kFullWeightFactor; ++b) {
      t.root[a << kFactorBits | b] = static_cast<uint8_t>(FloorRoot(a * b));
    }
  }
  for (int32_t p = 0; p < kProducts; ++p) {
    int32_t score = (kPairScoreRounding + p) >> kPairScoreShift;
    for (int32_t kinds = 0; kinds <= 2; ++kinds) {
      t.score[kinds][p] = static_cast<uint8_t>(score);
      score = score * kOtherKindTenths / 10;
    }
  }
  return t;
}
constexpr Tables kTables = MakeTables();

static_assert(kCandidateRoom >= kMaxCandidates + kMaxHits, "");

void VoteAgain(const FirstPrint& first, const SecondPrint& second,
               const Candidates& candidates, uint32_t* votes) {
  const auto lift = [](int32_t d) { return d < 0 ? d + kFullTurnDegrees : d; };
  std::memset(votes, 0, kFullTurnDegrees * sizeof *votes);
  for (int32_t i = 0; i < candidates.count; ++i) {
    const uint32_t c = candidates.packed[i];
    const StickTraits& r = first.traits[FirstStickOf(c)];
    const StickTraits& v = second.pairs.traits[SecondStickOf(c)];
    votes[lift(r[kFromDirection] - v[kFromDirection])] += ScoreOf(c);
    votes[lift(r[kToDirection] - v[kToDirection])] += ScoreOf(c);
  }
}

// Appends the pairs at `places` that are not rejected, with their scores.
void Score(const TraitDifferences& d, const uint32_t* places, int32_t count,
           uint32_t* votes, Candidates* candidates) {
  auto n = static_cast<size_t>(candidates->count);
  for (int32_t i = 0; i < count; ++i) {
    const int32_t product =
        kTables.closeness[d.square_sum[i]] * kTables.root[d.factors[i]];
    const uint32_t score = kTables.score[d.kinds[i]][product];
    votes[d.from_rotation[i]] += score;
    votes[d.to_rotation[i]] += score;
    candidates->packed[n] = places[i] | score;
    candidates->rotation[n] = d.rotation[i];
    n += product != 0 ? 1 : 0;
  }
  candidates->count = static_cast<int32_t>(n);
}

void ScoreAll(const FirstPrint& first, const SecondPrint& second, int32_t count,
              PairingSpace* space, Candidates* candidates) {
  static const CompareTraitsFn compare = SelectedCompareTraits();
  constexpr int32_t kStep = TraitDifferences::kPairs;
  for (int32_t i = 0; i < count; i += kStep) {
    const int32_t step = std::min(kStep, count - i);
    const uint32_t* const places = space->hits.place + i;
    compare(first, second, places, step, &space->differences);
    Score(space->differences, places, step, space->rotation_votes, candidates);
  }
}

// The order of the tables: by first stick, then by the length of the second,
// then as its pairs were found.
constexpr int32_t kLengthBits = 8;
uint32_t OrderKey(const SecondPrint& second, uint32_t c) {
  const uint32_t pair = SecondStickOf(c);
  const auto length =
      static_cast<uint32_t>(second.pairs.traits[pair][kLengthCode]);
  return (FirstStickOf(c) << kLengthBits | length) << kSecondStickBits | pair;
}

// The key of the last of the first `limit` candidates. Counting finds its
// first stick; only that stick's candidates need an order.
uint32_t FindCut(int32_t limit, const SecondPrint& second,
                 const Candidates& candidates) {
  uint16_t count[2 * kMaxMinutiaPairs] = {};
  const uint32_t* const end = candidates.packed + candidates.count;
  for (const uint32_t* c = candidates.packed; c < end; ++c) {
    ++count[FirstStickOf(*c)];
  }
  uint32_t cut = 0;
  while (count[cut] < limit) limit -= count[cut++];
  uint32_t keys[kMaxMinutiaPairs];
  uint32_t* last = keys;
  for (const uint32_t* c = candidates.packed; c < end; ++c) {
    if (FirstStickOf(*c) == cut) *last++ = OrderKey(second, *c);
  }
  std::nth_element(keys, keys + limit - 1, last);
  return keys[limit - 1];
}

// Leaves the segments from `limit` on out.
void CutBands(uint32_t limit, Bands* bands) {
  for (int32_t code = 0; code <= kNoStick; ++code) {
    const uint32_t before = bands->at[code] / kWordBytes * kWordSegments;
    const uint32_t end = limit > before ? limit - before : 0;
    bands->end[code] = std::min(bands->end[code], end);
  }
}

void MakeRoom(int32_t pairs, const SecondPrint& second, PairingSpace* space,
              Candidates* candidates) {
  if (candidates->count + pairs <= kCandidateRoom) return;
  const uint32_t last = KeepFirst(kMaxCandidates, second, candidates);
  const uint32_t stick = last >> (kLengthBits + kSecondStickBits);
  space->cut_bands = *space->bands;
  CutBands(stick / 2 + 1, &space->cut_bands);
  space->bands = &space->cut_bands;
}

// Each word's lowest bit goes out in place; what is left of the word queues up
// again. Returns how many places went out; the rest, up to *count, is hits.
int32_t TakeLowestBits(uint64_t* __restrict words, uint32_t* __restrict places,
                       int32_t* count) {
  auto n = static_cast<size_t>(*count);
  size_t i = 0;
  for (; i < n && n < kMaxHits; ++i) {
    const uint64_t word = words[i];
    const uint32_t place = places[i];
    const uint64_t rest = word & (word - 1);
    places[i] = place + (static_cast<uint32_t>(2 * __builtin_ctzll(word))
                         << kFirstStickShift);
    words[n] = rest;
    places[n] = place;
    n += rest != 0 ? 1 : 0;
  }
  *count = static_cast<int32_t>(n);
  return static_cast<int32_t>(i);
}

// Replaces every hit by the pairs of its bits, and scores them.
void Expand(const FirstPrint& first, const SecondPrint& second,
            PairingSpace* space, Candidates* candidates) {
  Hits& hits = space->hits;
  while (hits.count > 0) {
    int32_t n = hits.count;
    const int32_t i = TakeLowestBits(hits.word, hits.place, &n);
    // Whole vectors are compared: beyond the end, with the pair 0 of sticks 0.
    std::fill_n(hits.place + n, kMostLanes, 0);
    MakeRoom(i, second, space, candidates);
    ScoreAll(first, second, i, space, candidates);
    hits.count = n - i;
    std::copy(hits.word + i, hits.word + n, hits.word);
    std::copy(hits.place + i, hits.place + n, hits.place);
  }
}

}  // namespace

uint32_t KeepFirst(int32_t limit, const SecondPrint& second,
                   Candidates* candidates) {
  const uint32_t cut = FindCut(limit, second, *candidates);
  int32_t n = 0;
  for (int32_t i = 0; i < candidates->count; ++i) {
    candidates->packed[n] = candidates->packed[i];
    candidates->rotation[n] = candidates->rotation[i];
    n += OrderKey(second, candidates->packed[i]) <= cut ? 1 : 0;
  }
  candidates->count = n;
  return cut;
}

void PairSticks(const FirstPrint& first, const SecondPrint& second,
                PairingSpace* space, Candidates* candidates) {
  static const CollectHitsFn collect_hits = SelectedCollectHits();
  candidates->count = 0;
  space->hits.count = 0;
  space->bands = &first.bands;
  std::memset(space->rotation_votes, 0, sizeof space->rotation_votes);
  for (int32_t pair = 0; pair < second.pair_count;) {
    pair = collect_hits(first, *space->bands, second, pair, &space->hits);
    Expand(first, second, space, candidates);
  }
  if (candidates->count > kMaxCandidates || space->bands != &first.bands) {
    KeepFirst(kMaxCandidates, second, candidates);
    VoteAgain(first, second, *candidates, space->rotation_votes);
  }
}

}  // namespace corvex
