#include "scene.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "support/temp_file.h"

namespace support {

namespace fs = std::filesystem;

void Cover(const std::string& directory) {
  ASSERT_EQ(0, mount("tmpfs", directory.c_str(), "tmpfs", 0, "mode=755"))
      << directory;
}

void CoverFile(const std::string& path, const std::string& content) {
  char cover[] = "/tmp/cover_XXXXXX";
  close(mkstemp(cover));
  WriteFile(cover, content);
  ASSERT_EQ(0, chmod(cover, 0644));
  ASSERT_EQ(0, mount(cover, path.c_str(), nullptr, MS_BIND, nullptr)) << path;
}

void AddProgram(const std::string& name, const std::string& script) {
  const std::string path = "/tmp/bin/" + name;
  if (fs::create_directory("/tmp/bin")) {
    setenv("PATH", ("/tmp/bin:" + std::string(getenv("PATH"))).c_str(), 1);
  }
  WriteFile(path, "#!/bin/sh\n" + script + "\n");
  ASSERT_EQ(0, chmod(path.c_str(), 0755));
}

pid_t StartProgram(const std::string& name,
                   const std::vector<std::string>& arguments) {
  AddProgram(name, ": >/tmp/started\nwhile :; do sleep 1; done");
  const std::string path = "/tmp/bin/" + name;
  std::vector<char*> argv = {const_cast<char*>(path.c_str())};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  const pid_t process = fork();
  if (process == 0) {
    execv(path.c_str(), argv.data());
    _exit(127);
  }
  while (!fs::exists("/tmp/started")) poll(nullptr, 0, 10);
  return process;
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
  for (const int right :
       {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_SYS_ADMIN}) {
    ASSERT_EQ(0, prctl(PR_CAPBSET_DROP, right, 0, 0, 0));
  }
}

}  // namespace support
