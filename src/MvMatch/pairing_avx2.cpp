// CollectNarrow with 256-bit registers: a band's four words at once.
#if defined(__x86_64__)

#include <immintrin.h>

#include <array>

#include "MvMatch/pairing_kernels.h"

namespace corvex {
namespace {

// For each set of empty words: how to move the others to the front.
struct Squeeze {
  alignas(32) uint32_t words[16][8];
  alignas(16) uint8_t places[16][16];
};

constexpr Squeeze MakeSqueeze() {
  Squeeze s{};
  for (uint32_t set = 0; set < 16; ++set) {
    uint32_t n = 0;
    for (uint32_t word = 0; word < 4; ++word) {
      if ((set >> word & 1) != 0) continue;
      s.words[set][2 * n] = 2 * word;
      s.words[set][2 * n + 1] = 2 * word + 1;
      for (uint32_t byte = 0; byte < 4; ++byte) {
        s.places[set][4 * n + byte] = static_cast<uint8_t>(4 * word + byte);
      }
      ++n;
    }
  }
  return s;
}
constexpr Squeeze kSqueeze = MakeSqueeze();

__attribute__((target("avx2,popcnt"))) inline __m256i Load(const void* from) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

__attribute__((target("avx2,popcnt"))) inline size_t Append(__m256i words,
                                                            __m128i places,
                                                            size_t n,
                                                            Hits* hits) {
  const __m256i empty = _mm256_cmpeq_epi64(words, _mm256_setzero_si256());
  const auto set =
      static_cast<size_t>(_mm256_movemask_pd(_mm256_castsi256_pd(empty)));
  const __m256i order = Load(kSqueeze.words[set]);
  const __m128i place_order =
      _mm_load_si128(reinterpret_cast<const __m128i*>(kSqueeze.places[set]));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(hits->word + n),
                      _mm256_permutevar8x32_epi32(words, order));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(hits->place + n),
                   _mm_shuffle_epi8(places, place_order));
  return n + 4 - static_cast<size_t>(__builtin_popcountll(set));
}

}  // namespace

__attribute__((target("avx2,popcnt"))) void CollectNarrowAvx2(
    const FirstPrint& first, const SecondPrint& second, int32_t begin,
    int32_t end, Hits* hits) {
  const int32_t half = first.row_bytes / 2;
  const __m128i steps = _mm_setr_epi32(0, static_cast<int>(PlaceOf(64, 0, 0)),
                                       static_cast<int>(PlaceOf(128, 0, 0)),
                                       static_cast<int>(PlaceOf(192, 0, 0)));
  const __m128i reversed = _mm_set1_epi32(static_cast<int>(PlaceOf(0, 1, 0)));
  auto n = static_cast<size_t>(hits->count);
  for (int32_t pair = begin; pair < end; ++pair) {
    const StickTraits& stick = second.pairs.traits[pair];
    const int32_t byte = first.band[stick[kLengthCode]].begin / 8;
    const __m256i mask = Load(first.band_mask[stick[kLengthCode]]);
    const RowPair row = RowsOf(first, stick);
    const uint8_t* const p = row.from + byte;
    const uint8_t* const q = row.to + byte;
    const __m256i forward =
        _mm256_and_si256(_mm256_and_si256(Load(p), mask), Load(q + half));
    const __m256i backward =
        _mm256_and_si256(_mm256_and_si256(Load(q), mask), Load(p + half));
    const __m128i places = _mm_add_epi32(
        steps, _mm_set1_epi32(static_cast<int>(PlaceOf(8 * byte, 0, pair))));
    n = Append(forward, places, n, hits);
    n = Append(backward, _mm_or_si128(places, reversed), n, hits);
  }
  hits->count = static_cast<int32_t>(n);
}

}  // namespace corvex

#endif  // defined(__x86_64__)
