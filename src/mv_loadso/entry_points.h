// The nine entry points of the algorithm library, under the names of its
// symbols. Each holds what the last load bound, also after an unload.
#ifndef SRC_MV_LOADSO_ENTRY_POINTS_H_
#define SRC_MV_LOADSO_ENTRY_POINTS_H_

#include <cstdint>

using MvViewVersnFn = int32_t (*)(int32_t* first, int32_t* second,
                                  uint16_t* four_parts);
using MvViewDinitFn = int32_t (*)(void** handle);
using MvViewDexitFn = int32_t (*)(void* handle);
using MvViewMatchFn = int32_t (*)(const uint8_t* first, const uint8_t* second,
                                  int32_t zero, int32_t also_zero);
using OrvSynMinutFn = int32_t (*)(const uint8_t* captures, int32_t count,
                                  int32_t stride_bytes, uint8_t* tmpl,
                                  int32_t* tmpl_len, int32_t* best_index,
                                  int32_t zero, void* handle);
using UncalledFn = void (*)();  // must be there; the driver never calls it

extern MvViewVersnFn MvViewVersn;
extern MvViewDinitFn MvViewDinit;
extern MvViewDexitFn MvViewDexit;
extern UncalledFn MvViewMinut;
extern MvViewMatchFn MvViewMatch;
extern UncalledFn MvViewImMut;
extern UncalledFn MvViewDetct;
extern UncalledFn MvChckMinut;
extern OrvSynMinutFn OrvSynMinut;

namespace corvex {

// Binds in the order above and stops at the first that is missing: logs it and
// returns false.
bool BindEntryPoints(void* library);

}  // namespace corvex

#endif  // SRC_MV_LOADSO_ENTRY_POINTS_H_
