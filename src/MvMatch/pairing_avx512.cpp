// CollectHits with 512-bit registers: four from words and four to words at
// once, and empty ones squeezed out by the processor.
#if defined(__x86_64__)

#include <immintrin.h>

#include "MvMatch/pairing_kernels.h"

#define MV_WIDE __attribute__((target("avx512vl,avx512bw,popcnt")))

namespace corvex {
namespace {

// The plain forms of some intrinsics start from an undefined register, at which
// compilers warn.
constexpr __mmask8 kAll = 0xFF;

// A word's number in the lowest 16 of 64 bits, `rest` in the others.
constexpr int64_t Wide(int64_t low, int64_t rest) {
  return low | rest << 16 | rest << 32 | rest << 48;
}

MV_WIDE inline __m512i Load(const void* from) {
  return _mm512_loadu_si512(from);
}

// To words in the place of from words, and the other way round.
MV_WIDE inline __m512i Exchanged(__m512i words) {
  return __builtin_shufflevector(words, words, 1, 0, 3, 2, 5, 4, 7, 6);
}

// The bits of four words' segments from `begin` up to `end`. What is left of
// the subtractions is shifted by, word by word.
MV_WIDE inline __m512i MaskOf(__m512i begin, __m512i end) {
  const __m512i firsts =
      _mm512_setr_epi64(Wide(0, 0xFFFF), Wide(0, 0xFFFF), Wide(64, 0xFFFF),
                        Wide(64, 0xFFFF), Wide(128, 0xFFFF), Wide(128, 0xFFFF),
                        Wide(192, 0xFFFF), Wide(192, 0xFFFF));
  const __m512i lasts = _mm512_setr_epi64(64, 64, 128, 128, 192, 192, 256, 256);
  const __m512i ones = _mm512_set1_epi64(-1);
  return _mm512_maskz_sllv_epi64(kAll, ones, _mm512_subs_epu16(begin, firsts)) &
         _mm512_maskz_srlv_epi64(kAll, ones, _mm512_subs_epu16(lasts, end));
}

MV_WIDE inline __m512i Everywhere(const uint32_t& n) {
  return _mm512_set1_epi32(static_cast<int>(n));
}

}  // namespace

MV_WIDE int32_t CollectHitsAvx512(const FirstPrint& first, const Bands& bands,
                                  const SecondPrint& second, int32_t pair,
                                  Hits* hits) {
  alignas(32) static constexpr uint32_t kSteps[] = {
      PlaceOf(0, false, 0),  PlaceOf(0, true, 0),   PlaceOf(16, false, 0),
      PlaceOf(16, true, 0),  PlaceOf(32, false, 0), PlaceOf(32, true, 0),
      PlaceOf(48, false, 0), PlaceOf(48, true, 0)};
  const __m256i steps =
      _mm256_load_si256(reinterpret_cast<const __m256i*>(kSteps));
  const uint8_t* const rows = first.rows.Data();
  const int64_t row_bytes = first.row_bytes;
  const int64_t count = second.pair_count;
  int64_t i = pair;
  auto n = static_cast<size_t>(hits->count);
  for (; i < count && n <= kMaxHits - kMostPairHits; ++i) {
    const StickTraits& stick = second.pairs.traits[i];
    const int32_t length = stick[kLengthCode];
    const uint8_t* const p = rows + stick[kFromAngle] * row_bytes;
    const uint8_t* const q = rows + stick[kToAngle] * row_bytes;
    size_t at = bands.at[length];
    __m512i begin = Everywhere(bands.begin[length]);
    __m512i end = Everywhere(bands.end[length]);
    auto left = static_cast<int32_t>(bands.end[length]);
    do {  // once, most often
      const __m512i exchanged = Exchanged(Load(q + at));
      const __m512i words = Load(p + at) & exchanged & MaskOf(begin, end);
      const __mmask8 set = _mm512_test_epi64_mask(words, words);
      const __m256i places =
          _mm256_add_epi32(steps, _mm256_set1_epi32(static_cast<int>(PlaceOf(
                                      at, false, static_cast<int32_t>(i)))));
      // Through a register: some processors compress to memory slowly.
      _mm512_storeu_si512(hits->word + n,
                          _mm512_maskz_compress_epi64(set, words));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(hits->place + n),
                          _mm256_maskz_compress_epi32(set, places));
      n += static_cast<size_t>(__builtin_popcount(set));
      at += kColumnBytes;
      left -= kColumnSegments;
      begin = __m512i{};
      end = Everywhere(static_cast<uint32_t>(left));
    } while (left > 0);
  }
  hits->count = static_cast<int32_t>(n);
  return static_cast<int32_t>(i);
}

}  // namespace corvex

#endif  // defined(__x86_64__)
