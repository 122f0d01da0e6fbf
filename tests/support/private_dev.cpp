#include "support/private_dev.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/temp_file.h"

namespace support {
namespace {

// Built aside: what it takes from the old /dev must still be in sight.
constexpr char kAside[] = "/tmp/dev";

void Bind(const char* from, const std::string& onto) {
  ASSERT_EQ(0, mount(from, onto.c_str(), nullptr, MS_BIND, nullptr)) << onto;
}

}  // namespace

void CoverDev() {
  const std::string aside = kAside;
  ASSERT_EQ(0, mkdir(kAside, 0755));
  ASSERT_EQ(0, mount("tmpfs", kAside, "tmpfs", 0, "mode=755"));
  ASSERT_EQ(0, mkdir((aside + "/pts").c_str(), 0755));
  Bind("/dev/pts", aside + "/pts");
  WriteFile(aside + "/null", "");
  Bind("/dev/null", aside + "/null");
  ASSERT_EQ(0, symlink("pts/ptmx", (aside + "/ptmx").c_str()));
  ASSERT_EQ(0, mount(kAside, "/dev", nullptr, MS_MOVE, nullptr));
}

void LinkDevice(const std::string& name, const std::string& target) {
  ASSERT_EQ(0, symlink(target.c_str(), ("/dev/" + name).c_str())) << name;
}

}  // namespace support
