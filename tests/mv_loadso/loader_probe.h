// A driver that is nothing but the loader: the module as it stands, hooks
// included, in a shared object that shows its inside.
#ifndef TESTS_MV_LOADSO_LOADER_PROBE_H_
#define TESTS_MV_LOADSO_LOADER_PROBE_H_

#include "mv_loadso/algorithm_library.h"

struct LoaderProbe {
  decltype(cx_load_ga_so)* load;
  decltype(mv_check_alg)* check;
  decltype(cx_free_ga_so)* free;
  decltype(corvex::ReadyAlgorithmLibrary)* ready;
};

extern "C" __attribute__((visibility("default")))
const LoaderProbe kLoaderProbe;

#endif  // TESTS_MV_LOADSO_LOADER_PROBE_H_
