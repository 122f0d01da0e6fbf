#include "loader_probe.h"

#include "mv_loadso/own_path.h"

extern "C" __attribute__((visibility("default")))
const LoaderProbe kLoaderProbe = {
    cx_load_ga_so,    mv_check_alg,
    cx_free_ga_so,    corvex::ReadyAlgorithmLibrary,
    mv_get_path,      &g_ga_so_handle,
    &g_ga_alg_handle, &g_is_ga_alg_ok,
    &OrvSynMinut};
