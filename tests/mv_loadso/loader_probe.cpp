#include "loader_probe.h"

const LoaderProbe kLoaderProbe = {cx_load_ga_so, mv_check_alg, cx_free_ga_so,
                                  corvex::ReadyAlgorithmLibrary};
