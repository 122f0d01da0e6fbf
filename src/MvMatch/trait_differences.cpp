#include "MvMatch/trait_differences.h"

#include <cstring>

#include "MvMatch/processor.h"

namespace corvex {
namespace {

using WideLanes = int16_t __attribute__((vector_size(32)));
using WideUnsignedLanes = uint16_t __attribute__((vector_size(32)));

// One source for narrow and wide registers. Vectors are passed by reference:
// how wide ones are passed by value depends on the processor.
template <typename V, typename Unsigned>
struct Differences {
  static constexpr int32_t kCount = sizeof(V) / sizeof(int16_t);

  // The lanes of each 128 bits by turns.
  static void Interleave(const V& a, const V& b, V* low, V* high) {
    if constexpr (kCount == kLanes) {
      *low = __builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11);
      *high = __builtin_shufflevector(a, b, 4, 12, 5, 13, 6, 14, 7, 15);
    } else {
      *low = __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 8, 24, 9,
                                     25, 10, 26, 11, 27);
      *high = __builtin_shufflevector(a, b, 4, 20, 5, 21, 6, 22, 7, 23, 12, 28,
                                      13, 29, 14, 30, 15, 31);
    }
  }

  // Three perfect shuffles of 64 numbers exchange the index halves.
  static void Transpose(V row[kTraits]) {
    for (int32_t round = 0; round < 3; ++round) {
      V next[kTraits];
      for (int32_t k = 0; k < kTraits / 2; ++k) {
        Interleave(row[k], row[k + 4], &next[2 * k], &next[2 * k + 1]);
      }
      std::memcpy(row, next, sizeof next);
    }
  }

  static Lanes Subtract(const FirstPrint& first, const SecondPrint& second,
                        uint32_t place) {
    return LoadLanes(&first.traits[FirstStickOf(place)]) -
           LoadLanes(&second.pairs.traits[SecondStickOf(place)]);
  }

  // Differences by pair; after the transposition by trait.
  static void Gather(const FirstPrint& first, const SecondPrint& second,
                     const uint32_t* places, V d[kTraits]) {
    for (int32_t k = 0; k < kLanes; ++k) {
      const Lanes one = Subtract(first, second, places[k]);
      if constexpr (kCount == kLanes) {
        d[k] = one;
      } else {
        const Lanes other = Subtract(first, second, places[k + kLanes]);
        d[k] = __builtin_shufflevector(one, other, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9,
                                       10, 11, 12, 13, 14, 15);
      }
    }
    Transpose(d);
  }

  static void Abs(V* n) { *n = *n < 0 ? -*n : *n; }

  static void Lift(V* degrees) {
    *degrees += (*degrees >> 15) & int16_t{kFullTurnDegrees};
  }

  // Of two angles; exactly opposite ones count as equal.
  static void Fold(V* difference) {
    Abs(difference);
    const V rest = int16_t{kFullTurnDegrees} - *difference;
    const V folded = *difference < rest ? *difference : rest;
    *difference = folded & (folded != int16_t{kHalfTurnDegrees});
  }

  // Unsigned: lanes without a pair may overflow.
  static void AddSquare(const V& n, Unsigned* sum) {
    const auto size = reinterpret_cast<Unsigned>(n);
    *sum += size * size;
  }

  // Of two marks: `factor` is what the weights leave, `kind` 0 or 1.
  static void CompareMarks(const V& difference, V* factor, V* kind) {
    *kind = (difference + int16_t{kKindMark / 2}) >> 8;
    V weights = difference - (*kind << 8);
    Abs(&weights);
    Abs(kind);
    const V left = int16_t{kFullWeightFactor} - weights;
    *factor = left & (left > 0);
  }

  static void Store(const V& lanes, uint16_t* to) {
    std::memcpy(to, &lanes, sizeof lanes);
  }

  static void Compare(const FirstPrint& first, const SecondPrint& second,
                      const uint32_t* places, int32_t count,
                      TraitDifferences* out) {
    for (int32_t i = 0; i < count; i += kCount) {
      V d[kTraits];
      Gather(first, second, places + i, d);
      Fold(&d[kFromAngle]);
      Fold(&d[kToAngle]);
      Unsigned sum{};
      AddSquare(d[kFromAngle], &sum);
      AddSquare(d[kToAngle], &sum);
      AddSquare(d[kLengthCode], &sum);
      std::memcpy(out->square_sum + i, &sum, sizeof sum);
      V factor[2];
      V kind[2];
      CompareMarks(d[kFromMark], &factor[0], &kind[0]);
      CompareMarks(d[kToMark], &factor[1], &kind[1]);
      Store(factor[0] << kFactorBits | factor[1], out->factors + i);
      Store(kind[0] + kind[1], out->kinds + i);
      Lift(&d[kFromDirection]);
      Lift(&d[kToDirection]);
      Lift(&d[kDirection]);
      Store(d[kFromDirection], out->from_rotation + i);
      Store(d[kToDirection], out->to_rotation + i);
      Store(d[kDirection], out->rotation + i);
    }
  }
};

}  // namespace

void CompareTraitsPortable(const FirstPrint& first, const SecondPrint& second,
                           const uint32_t* places, int32_t count,
                           TraitDifferences* out) {
  Differences<Lanes, UnsignedLanes>::Compare(first, second, places, count, out);
}

#if defined(__x86_64__)
// Flattened, so that all of it is compiled for the wide registers.
__attribute__((target("avx2"), flatten)) void CompareTraitsAvx2(
    const FirstPrint& first, const SecondPrint& second, const uint32_t* places,
    int32_t count, TraitDifferences* out) {
  Differences<WideLanes, WideUnsignedLanes>::Compare(first, second, places,
                                                     count, out);
}
#endif

CompareTraitsFn SelectedCompareTraits() {
#if defined(__x86_64__)
  if (HasAvx2()) return CompareTraitsAvx2;
#endif
  return CompareTraitsPortable;
}

}  // namespace corvex
