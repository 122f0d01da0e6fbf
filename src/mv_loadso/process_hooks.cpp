// What the driver does when a host loads and unloads it. In a file of its own:
// a program that links single modules of mv_fpi_static does not get it.
#include "mv_loadso/algorithm_library.h"

__attribute__((constructor)) void CX_VELDAN314_NRBK_PROCESS_ATTACH() {
  cx_load_ga_so(kAlgorithmLibraryFile);  // calls that need it try again
}

__attribute__((destructor)) void CX_VELDAN314_NRBK_PROCESS_DETACH() {
  g_is_ga_alg_ok = -1;
  cx_free_ga_so();
}
