// The differences of many pairs' sticks, for scoring them.
#ifndef SRC_MVMATCH_TRAIT_DIFFERENCES_H_
#define SRC_MVMATCH_TRAIT_DIFFERENCES_H_

#include <cstdint>

#include "MvMatch/first_print.h"
#include "MvMatch/pairing.h"
#include "MvMatch/print_sticks.h"

namespace corvex {

constexpr int32_t kFactorBits = 6;

// Compares the sticks that `places` names: kPairs at most, and sticks that
// exist for whole vectors. All of these give the same.
using CompareTraitsFn = void (*)(const FirstPrint& first,
                                 const SecondPrint& second,
                                 const uint32_t* places, int32_t count,
                                 TraitDifferences* out);

void CompareTraitsPortable(const FirstPrint& first, const SecondPrint& second,
                           const uint32_t* places, int32_t count,
                           TraitDifferences* out);

#if defined(__x86_64__)
void CompareTraitsAvx2(const FirstPrint& first, const SecondPrint& second,
                       const uint32_t* places, int32_t count,
                       TraitDifferences* out);
#endif

// The fastest that this processor runs.
CompareTraitsFn SelectedCompareTraits();

}  // namespace corvex

#endif  // SRC_MVMATCH_TRAIT_DIFFERENCES_H_
