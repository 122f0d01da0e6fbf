// A driver that is nothing but the loader: the module as it stands, hooks
// included, in a shared object that shows its inside.
#ifndef TESTS_MV_LOADSO_LOADER_PROBE_H_
#define TESTS_MV_LOADSO_LOADER_PROBE_H_

#include "mv_loadso/algorithm_library.h"

struct LoaderProbe {
  int32_t (*load)(const char* file_name);
  int32_t (*check)();
  int32_t (*free)();
  int32_t (*ready)();
  int (*get_path)(char* dir_out);
  void** so_handle;
  void** alg_handle;
  int32_t* ok;
  OrvSynMinutFn* synth;
};

extern "C" const LoaderProbe kLoaderProbe;

#endif  // TESTS_MV_LOADSO_LOADER_PROBE_H_
