#include "mv_base/lock_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace corvex {
namespace {

// The directory is public: never follow a link that a stranger put there, and
// never wait for the other end of a pipe.
constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
constexpr mode_t kMode = 0666;

int Create(const char* path) {
  const int file = open(path, kFlags | O_CREAT | O_EXCL, kMode);
  // The umask of the first user must not lock the others out.
  if (file >= 0) fchmod(file, kMode);
  return file;
}

}  // namespace

int OpenLockFile(const char* path) {
  int file = open(path, kFlags);
  if (file >= 0 || errno != ENOENT) return file;
  file = Create(path);
  // Another process may have made it meanwhile.
  return file >= 0 || errno != EEXIST ? file : open(path, kFlags);
}

}  // namespace corvex
