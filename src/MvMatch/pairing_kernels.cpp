#include "MvMatch/pairing_kernels.h"

#include <cstring>

#include "MvMatch/processor.h"

namespace corvex {
namespace {

uint64_t LoadWord(const uint8_t* from) {
  uint64_t word;
  std::memcpy(&word, from, sizeof word);
  return word;
}

// Written always, counted only when it holds a bit: no branch to guess.
void AppendHit(uint64_t word, uint32_t place, Hits* hits) {
  hits->word[hits->count] = word;
  hits->place[hits->count] = place;
  hits->count += word != 0 ? 1 : 0;
}

}  // namespace

int32_t CollectHitsPortable(const FirstPrint& first, const Bands& bands,
                            const SecondPrint& second, int32_t pair,
                            Hits* hits) {
  const uint8_t* const rows = first.rows.Data();
  for (; pair < second.pair_count && hits->count <= kMaxHits - kMostPairHits;
       ++pair) {
    const StickTraits& stick = second.pairs.traits[pair];
    const int32_t length = stick[kLengthCode];
    const uint8_t* const p = rows + stick[kFromAngle] * first.row_bytes;
    const uint8_t* const q = rows + stick[kToAngle] * first.row_bytes;
    uint64_t mask = ~uint64_t{0} << bands.begin[length];
    size_t at = bands.at[length];
    for (auto left = static_cast<int32_t>(bands.end[length]); left > 0;
         left -= kWordSegments, at += kWordBytes) {
      if (left < kWordSegments) mask &= ~(~uint64_t{0} << left);
      AppendHit(LoadWord(p + at) & LoadWord(q + at + kWordBytes / 2) & mask,
                PlaceOf(at, false, pair), hits);
      AppendHit(LoadWord(p + at + kWordBytes / 2) & LoadWord(q + at) & mask,
                PlaceOf(at, true, pair), hits);
      mask = ~uint64_t{0};
    }
  }
  return pair;
}

CollectHitsFn SelectedCollectHits() {
#if defined(__x86_64__)
  if (HasAvx512()) return CollectHitsAvx512;
  if (HasAvx2()) return CollectHitsAvx2;
#endif
  return CollectHitsPortable;
}

}  // namespace corvex
