#include "mv_loadso/entry_points.h"

#include <dlfcn.h>

#include <type_traits>

#include "mv_base/diagnostic_log.h"

MvViewVersnFn MvViewVersn = nullptr;
MvViewDinitFn MvViewDinit = nullptr;
MvViewDexitFn MvViewDexit = nullptr;
UncalledFn MvViewMinut = nullptr;
MvViewMatchFn MvViewMatch = nullptr;
UncalledFn MvViewImMut = nullptr;
UncalledFn MvViewDetct = nullptr;
UncalledFn MvChckMinut = nullptr;
OrvSynMinutFn OrvSynMinut = nullptr;

namespace corvex {
namespace {

struct EntryPoint {
  const char* symbol;
  void (*store)(void* address);
};

template <auto* kPointer>
void Store(void* address) {
  using Function = std::remove_pointer_t<decltype(kPointer)>;
  *kPointer = reinterpret_cast<Function>(address);
}

constexpr EntryPoint kEntryPoints[] = {
    {"MvViewVersn", Store<&MvViewVersn>}, {"MvViewDinit", Store<&MvViewDinit>},
    {"MvViewDexit", Store<&MvViewDexit>}, {"MvViewMinut", Store<&MvViewMinut>},
    {"MvViewMatch", Store<&MvViewMatch>}, {"MvViewImMut", Store<&MvViewImMut>},
    {"MvViewDetct", Store<&MvViewDetct>}, {"MvChckMinut", Store<&MvChckMinut>},
    {"OrvSynMinut", Store<&OrvSynMinut>},
};

// Why the symbol cannot be called; null when it can.
const char* Bind(void* library, const EntryPoint& entry) {
  void* const address = dlsym(library, entry.symbol);
  entry.store(address);
  const char* const error = dlerror();
  if (error != nullptr) return error;
  return address == nullptr ? "symbol at address 0" : nullptr;
}

}  // namespace

bool BindEntryPoints(void* library) {
  dlerror();
  for (const EntryPoint& entry : kEntryPoints) {
    const char* const error = Bind(library, entry);
    if (error != nullptr) {
      MV_LOG("获取函数指针%s指针失败[%s]\n", entry.symbol, error);
      return false;
    }
  }
  return true;
}

}  // namespace corvex
