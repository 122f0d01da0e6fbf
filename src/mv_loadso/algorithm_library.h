// The external algorithm library, for dual-feature records: found beside the
// driver's own file, loaded at run time, nine entry points bound by name.
//
// Not locked: loading happens when the driver is loaded and inside calls.
#ifndef SRC_MV_LOADSO_ALGORITHM_LIBRARY_H_
#define SRC_MV_LOADSO_ALGORITHM_LIBRARY_H_

#include <cstdint>

constexpr char kAlgorithmLibraryFile[] = "libAlgoOrva64.so";

// Entry points, named as the library's symbols.
using MvViewVersnFn = int32_t (*)(int32_t*, int32_t*, uint16_t*);
using MvViewDinitFn = int32_t (*)(void** handle);
using MvViewDexitFn = int32_t (*)(void* handle);
using MvViewMatchFn = int32_t (*)(const uint8_t* first, const uint8_t* second,
                                  int32_t, int32_t);
using OrvSynMinutFn = int32_t (*)(const uint8_t* captures, int32_t count,
                                  int32_t stride_bytes, uint8_t* tmpl,
                                  int32_t* tmpl_len, int32_t* best_index,
                                  int32_t zero, void* handle);

extern void* g_ga_so_handle;    // from dlopen; null when not loaded
extern void* g_ga_alg_handle;   // the library's instance
extern int32_t g_is_ga_alg_ok;  // 0 after a successful initialisation, else -1
extern MvViewMatchFn MvViewMatch;
extern OrvSynMinutFn OrvSynMinut;

// Loads (or reloads), binds and initialises. 0, or: -3 null name, -120 no such
// library or no initialisation, -1 an entry point is missing, -15 from the
// library's own initialisation.
int32_t cx_load_ga_so(const char* file_name);

// 0 when the library is ready; otherwise tries to load it and returns the
// result of that.
int32_t mv_check_alg();

// Releases the instance and unloads the library. Always 0.
int32_t cx_free_ga_so();

#endif  // SRC_MV_LOADSO_ALGORITHM_LIBRARY_H_
