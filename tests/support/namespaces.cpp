#include "support/namespaces.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

namespace support {
namespace {

bool WriteFile(const char* path, const char* text) {
  FILE* const file = fopen(path, "w");
  if (file == nullptr) return false;
  const bool written = fputs(text, file) >= 0;
  return fclose(file) == 0 && written;
}

// A directory that stays in sight although /tmp is covered.
class Kept {
 public:
  explicit Kept(std::string path)
      : path_(std::move(path)),
        directory_(open(path_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {}
  ~Kept() {
    if (directory_ >= 0) close(directory_);
  }
  Kept(const Kept&) = delete;
  Kept& operator=(const Kept&) = delete;

  bool ShowAgain() const {
    if (path_.rfind("/tmp/", 0) != 0 || directory_ < 0) return true;
    std::error_code error;
    std::filesystem::create_directories(path_, error);
    const std::string source = "/proc/self/fd/" + std::to_string(directory_);
    return mount(source.c_str(), path_.c_str(), nullptr, MS_BIND, nullptr) == 0;
  }

 private:
  const std::string path_;
  const int directory_;
};

}  // namespace

bool EnterNamespaces(int kinds) {
  if (unshare(kinds) == 0) return true;
  char uid_map[64];
  char gid_map[64];
  snprintf(uid_map, sizeof uid_map, "0 %u 1\n", geteuid());
  snprintf(gid_map, sizeof gid_map, "0 %u 1\n", getegid());
  return unshare(kinds | CLONE_NEWUSER) == 0 &&
         WriteFile("/proc/self/setgroups", "deny") &&
         WriteFile("/proc/self/uid_map", uid_map) &&
         WriteFile("/proc/self/gid_map", gid_map);
}

bool MountOwnTmp() {
  const Kept checkout(MV_CHECKOUT_DIR);
  const Kept build(MV_BUILD_DIR);
  return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777") == 0 &&
         checkout.ShowAgain() && build.ShowAgain();
}

}  // namespace support
