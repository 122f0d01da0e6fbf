#include "scene.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "support/temp_file.h"

namespace support {

namespace fs = std::filesystem;

void Cover(const std::string& directory) {
  ASSERT_EQ(0, mount("tmpfs", directory.c_str(), "tmpfs", 0, "mode=755"))
      << directory;
}

void AddProgram(const std::string& name, const std::string& script) {
  const std::string path = "/tmp/bin/" + name;
  if (fs::create_directory("/tmp/bin")) {
    setenv("PATH", ("/tmp/bin:" + std::string(getenv("PATH"))).c_str(), 1);
  }
  WriteFile(path, "#!/bin/sh\n" + script + "\n");
  ASSERT_EQ(0, chmod(path.c_str(), 0755));
}

void AddTty(const std::string& name, const std::string& path) {
  const fs::path device = "/sys" + path;
  const fs::path tty = device / "tty" / name;
  fs::create_directories(tty);
  fs::create_directories("/sys/class/tty");
  fs::create_directory_symlink("../../../" + device.filename().string(),
                               tty / "device");
  fs::create_directory_symlink("../.." + path + "/tty/" + name,
                               "/sys/class/tty/" + name);
}

void GiveUpRootsRights() {
  for (const int right : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
    ASSERT_EQ(0, prctl(PR_CAPBSET_DROP, right, 0, 0, 0));
  }
}

}  // namespace support
