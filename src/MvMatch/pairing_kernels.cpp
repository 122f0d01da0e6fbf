#include "MvMatch/pairing_kernels.h"

#include "MvMatch/processor.h"

namespace corvex {

void CollectNarrowPortable(const FirstPrint& first, const SecondPrint& second,
                           int32_t begin, int32_t end, Hits* hits) {
  const int32_t half = first.row_bytes / 2;
  for (int32_t pair = begin; pair < end; ++pair) {
    const StickTraits& stick = second.pairs.traits[pair];
    const int32_t byte = first.band[stick[kLengthCode]].begin / 8;
    const uint64_t* const mask = first.band_mask[stick[kLengthCode]];
    const RowPair row = RowsOf(first, stick);
    const uint8_t* p = row.from + byte;
    const uint8_t* q = row.to + byte;
    for (int32_t word = 0; word < kNarrowWords; ++word, p += 8, q += 8) {
      const int32_t bit = 8 * byte + 64 * word;
      AppendHit(LoadWord(p) & LoadWord(q + half) & mask[word],
                PlaceOf(bit, false, pair), hits);
      AppendHit(LoadWord(p + half) & LoadWord(q) & mask[word],
                PlaceOf(bit, true, pair), hits);
    }
  }
}

CollectNarrowFn CollectNarrowKernel() {
#if defined(__x86_64__)
  if (HasAvx512()) return CollectNarrowAvx512;
  if (HasAvx2()) return CollectNarrowAvx2;
#endif
  return CollectNarrowPortable;
}

}  // namespace corvex
