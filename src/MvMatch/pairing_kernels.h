// The one loop of pairing that wide registers pay for.
#ifndef SRC_MVMATCH_PAIRING_KERNELS_H_
#define SRC_MVMATCH_PAIRING_KERNELS_H_

#include <cstddef>
#include <cstdint>

#include "MvMatch/pairing.h"

namespace corvex {

// A pair's hits at most: a row's words.
constexpr int32_t kMostPairHits = kMaxRowBytes / 8;
static_assert(kMaxHits >= kMostPairHits, "or no pair ever fits");

// Appends the hits of the second print's pairs from `pair` on within `bands`,
// while `hits` has room for another pair's. Returns the first pair that is not
// done. All of these append the same hits.
using CollectHitsFn = int32_t (*)(const FirstPrint& first, const Bands& bands,
                                  const SecondPrint& second, int32_t pair,
                                  Hits* hits);

int32_t CollectHitsPortable(const FirstPrint& first, const Bands& bands,
                            const SecondPrint& second, int32_t pair,
                            Hits* hits);

#if defined(__x86_64__)
int32_t CollectHitsAvx2(const FirstPrint& first, const Bands& bands,
                        const SecondPrint& second, int32_t pair, Hits* hits);
int32_t CollectHitsAvx512(const FirstPrint& first, const Bands& bands,
                          const SecondPrint& second, int32_t pair, Hits* hits);
#endif

// The fastest that this processor runs.
CollectHitsFn SelectedCollectHits();

// The packed candidate, without a score, of the lowest bit of the word that
// begins so many bytes into a row.
constexpr uint32_t PlaceOf(size_t row_byte, bool reversed, int32_t pair) {
  const auto bit = static_cast<uint32_t>(row_byte) / kWordBytes * kWordSegments;
  return (2 * bit + (reversed ? 1 : 0)) << kFirstStickShift |
         static_cast<uint32_t>(pair) << kSecondStickShift;
}

}  // namespace corvex

#endif  // SRC_MVMATCH_PAIRING_KERNELS_H_
