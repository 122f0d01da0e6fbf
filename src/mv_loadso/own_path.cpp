#include "mv_loadso/own_path.h"

#include "mv_base/own_file.h"

int empty_dladdr(int value) { return value; }

int mv_get_path(char* dir_out) {
  return corvex::DirectoryOfFileWith(
      reinterpret_cast<const void*>(&empty_dladdr), dir_out,
      kOwnDirectoryBytes);
}
