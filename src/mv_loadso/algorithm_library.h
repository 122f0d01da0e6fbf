// The external algorithm library, for dual-feature records: found beside the
// driver's own file, loaded at run time, nine entry points bound by name.
//
// Loading happens when the driver is loaded and inside calls that find the
// library not ready. The functions under their own names are not locked;
// ReadyAlgorithmLibrary() is, and calls use no other.
#ifndef SRC_MV_LOADSO_ALGORITHM_LIBRARY_H_
#define SRC_MV_LOADSO_ALGORITHM_LIBRARY_H_

#include <cstdint>

#include "mv_loadso/entry_points.h"

constexpr char kAlgorithmLibraryFile[] = "libAlgoOrva64.so";

enum AlgCode : int32_t {
  kAlgReady = 0,
  kAlgNoEntryPoint = -1,
  kAlgBadArgument = -3,
  kAlgNotStarted = -15,   // the library's own: returned as it is
  kAlgUnavailable = -120  // no such library, or no initialisation
};

extern void* g_ga_so_handle;    // from dlopen; null when not loaded
extern void* g_ga_alg_handle;   // the library's instance
extern int32_t g_is_ga_alg_ok;  // 0 after a successful initialisation, else -1

// Loads (or reloads), binds and initialises. Blocks 0.2 s at least and about
// 3 s at most once the file is loaded, the library's own time not counted.
// Returns an AlgCode.
int32_t cx_load_ga_so(const char* file_name);

// 0 when the library is ready; otherwise tries to load it and returns the
// result of that.
int32_t mv_check_alg();

// Releases the instance and unloads the library; the entry points keep their
// values. Always 0.
int32_t cx_free_ga_so();

namespace corvex {

// What a call does before it uses an entry point: checks, and loads once more
// when the check failed. Safe from many threads at once: one of them loads, the
// others wait and share its result, and a library that is ready is never
// reloaded under a thread that uses it. 0, or the negative code of the second
// load.
int32_t ReadyAlgorithmLibrary();

}  // namespace corvex

#endif  // SRC_MV_LOADSO_ALGORITHM_LIBRARY_H_
