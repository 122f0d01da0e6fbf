#include "libraries/library.h"

#include <dlfcn.h>

#include <string>

#include "report.h"

namespace corvex::mvfp {

// Never unloaded: a library may keep what it does at the process's end.
void* Library::Find(const char* name) const {
  void* const library = dlopen(file, RTLD_NOW);
  void* const found = library == nullptr ? nullptr : dlsym(library, name);
  if (found != nullptr) return found;
  throw Failure{
      std::string(use) + ": " + dlerror(),
      "install it: " + AsRoot(std::string("apt-get install ") + package)};
}

}  // namespace corvex::mvfp
