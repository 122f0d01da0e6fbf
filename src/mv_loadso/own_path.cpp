#include "mv_loadso/own_path.h"

#include <dlfcn.h>

#include <cstring>

int empty_dladdr(int value) { return value; }

int mv_get_path(char* dir_out) {
  Dl_info own{};
  if (dladdr(reinterpret_cast<void*>(&empty_dladdr), &own) == 0 ||
      own.dli_fname == nullptr) {
    return -1;
  }
  const char* const last_slash = strrchr(own.dli_fname, '/');
  if (last_slash == nullptr) return -1;
  const auto dir_len = static_cast<size_t>(last_slash - own.dli_fname);
  if (dir_len >= kOwnDirectoryBytes) return -1;
  memcpy(dir_out, own.dli_fname, dir_len);
  dir_out[dir_len] = '\0';
  return static_cast<int>(strlen(last_slash));
}
