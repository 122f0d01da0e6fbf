#include "mv_base/own_file.h"

#include <dlfcn.h>

#include <cstring>

namespace corvex {

int32_t DirectoryOfFileWith(const void* address, char* directory,
                            size_t bytes) {
  Dl_info file{};
  if (dladdr(address, &file) == 0 || file.dli_fname == nullptr) return -1;
  const char* const tail = strrchr(file.dli_fname, '/');
  if (tail == nullptr) return -1;
  const auto length = static_cast<size_t>(tail - file.dli_fname);
  if (length >= bytes) return -1;
  memcpy(directory, file.dli_fname, length);
  directory[length] = '\0';
  return static_cast<int32_t>(strlen(tail));
}

}  // namespace corvex
