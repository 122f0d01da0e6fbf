// CollectNarrow with 512-bit registers: a band's four words for sticks and its
// four for reversed sticks at once, and empty ones squeezed out by the
// processor.
#if defined(__x86_64__)

#include <immintrin.h>

#include <cstring>

#include "MvMatch/pairing_kernels.h"

#define MV_WIDE __attribute__((target("avx512vl,avx512bw,popcnt")))

namespace corvex {
namespace {

constexpr int StepOf(int32_t word) {
  return static_cast<int>(
      PlaceOf(64 * (word % kNarrowWords), word >= kNarrowWords, 0));
}

using FourWords = uint64_t __attribute__((vector_size(32)));

MV_WIDE inline __m512i Join(const void* low, const void* high) {
  FourWords a;
  FourWords b;
  std::memcpy(&a, low, sizeof a);
  std::memcpy(&b, high, sizeof b);
  return reinterpret_cast<__m512i>(
      __builtin_shufflevector(a, b, 0, 1, 2, 3, 4, 5, 6, 7));
}

}  // namespace

MV_WIDE void CollectNarrowAvx512(const FirstPrint& first,
                                 const SecondPrint& second, int32_t begin,
                                 int32_t end, Hits* hits) {
  const int32_t half = first.row_bytes / 2;
  const __m256i steps =
      _mm256_setr_epi32(StepOf(0), StepOf(1), StepOf(2), StepOf(3), StepOf(4),
                        StepOf(5), StepOf(6), StepOf(7));
  auto n = static_cast<size_t>(hits->count);
  for (int32_t pair = begin; pair < end; ++pair) {
    const StickTraits& stick = second.pairs.traits[pair];
    const int32_t code = stick[kLengthCode];
    const int32_t byte = first.band[code].begin / 8;
    const RowPair row = RowsOf(first, stick);
    const uint8_t* const p = row.from + byte;
    const uint8_t* const q = row.to + byte;
    const uint64_t* const mask = first.band_mask[code];
    const __m512i words =
        Join(p, p + half) & Join(q + half, q) & Join(mask, mask);
    const __m256i places = _mm256_add_epi32(
        steps, _mm256_set1_epi32(static_cast<int>(PlaceOf(8 * byte, 0, pair))));
    const __mmask8 set = _mm512_test_epi64_mask(words, words);
    // Through a register: some processors compress to memory slowly.
    _mm512_storeu_si512(hits->word + n,
                        _mm512_maskz_compress_epi64(set, words));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(hits->place + n),
                        _mm256_maskz_compress_epi32(set, places));
    n += static_cast<size_t>(__builtin_popcount(set));
  }
  hits->count = static_cast<int32_t>(n);
}

}  // namespace corvex

#endif  // defined(__x86_64__)
