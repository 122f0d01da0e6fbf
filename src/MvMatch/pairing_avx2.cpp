// CollectHits with 256-bit registers: two from words and two to words at once.
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

// The bits of two words' segments from `begin` up to `end`. What is left of the
// subtractions is shifted by, word by word.
__attribute__((target("avx2,popcnt"))) inline __m256i MaskOf(int32_t begin,
                                                             int32_t end) {
  const __m256i below = _mm256_subs_epu16(_mm256_set1_epi64x(begin),
                                          _mm256_setr_epi64x(0, 0, 64, 64));
  const __m256i above = _mm256_subs_epu16(_mm256_setr_epi64x(64, 64, 128, 128),
                                          _mm256_set1_epi64x(end));
  const __m256i ones = _mm256_set1_epi64x(-1);
  return _mm256_and_si256(_mm256_sllv_epi64(ones, below),
                          _mm256_srlv_epi64(ones, above));
}

}  // namespace

__attribute__((target("avx2,popcnt"))) int32_t CollectHitsAvx2(
    const FirstPrint& first, const Bands& bands, const SecondPrint& second,
    int32_t pair, Hits* hits) {
  const __m128i steps = _mm_setr_epi32(0, static_cast<int>(PlaceOf(0, true, 0)),
                                       static_cast<int>(PlaceOf(16, false, 0)),
                                       static_cast<int>(PlaceOf(16, true, 0)));
  const uint8_t* const rows = first.rows.Data();
  auto n = static_cast<size_t>(hits->count);
  for (; pair < second.pair_count && n <= kMaxHits - kMostPairHits; ++pair) {
    const StickTraits& stick = second.pairs.traits[pair];
    const int32_t length = stick[kLengthCode];
    const uint8_t* const p = rows + stick[kFromAngle] * first.row_bytes;
    const uint8_t* const q = rows + stick[kToAngle] * first.row_bytes;
    size_t at = bands.at[length];
    auto begin = static_cast<int32_t>(bands.begin[length]);
    auto left = static_cast<int32_t>(bands.end[length]);
    do {  // once, most often
      const __m256i exchanged = _mm256_shuffle_epi32(Load(q + at), 0x4E);
      const __m256i words = _mm256_and_si256(
          _mm256_and_si256(Load(p + at), exchanged), MaskOf(begin, left));
      const __m128i places = _mm_add_epi32(
          steps, _mm_set1_epi32(static_cast<int>(PlaceOf(at, false, pair))));
      n = Append(words, places, n, hits);
      at += sizeof words;
      left -= kColumnSegments / 2;
      begin = 0;
    } while (left > 0);
  }
  hits->count = static_cast<int32_t>(n);
  return pair;
}

}  // namespace corvex

#endif  // defined(__x86_64__)
