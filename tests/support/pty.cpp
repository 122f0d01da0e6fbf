#include "support/pty.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstring>

namespace support {

Pty::Pty() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)), keeper_(-1) {
  char path[64];
  if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0 ||
      ptsname_r(master_, path, sizeof path) != 0) {
    ADD_FAILURE() << "no pseudo-terminal: " << strerror(errno);
    return;
  }
  keeper_ = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
  name_ = path + strlen("/dev/");
}

Pty::~Pty() {
  HangUp();
  if (keeper_ >= 0) close(keeper_);
}

void Pty::Send(const std::string& bytes) const {
  ASSERT_EQ(static_cast<ssize_t>(bytes.size()),
            write(master_, bytes.data(), bytes.size()));
}

std::string Pty::Receive(size_t count) const {
  std::string bytes(count, '\0');
  size_t done = 0;
  while (done < count) {
    const ssize_t n = read(master_, bytes.data() + done, count - done);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  bytes.resize(done);
  return bytes;
}

void Pty::HangUp() {
  // The keeper stays: the kernel would give the freed name to another test.
  if (master_ >= 0) close(master_);
  master_ = -1;
}

termios Pty::Settings() const {
  termios settings{};
  EXPECT_EQ(0, tcgetattr(keeper_, &settings));
  return settings;
}

int OpenDescriptors() {
  DIR* const directory = opendir("/proc/self/fd");
  int count = -1;  // the directory's own
  while (const dirent* entry = readdir(directory)) {
    if (entry->d_name[0] != '.') ++count;
  }
  closedir(directory);
  return count;
}

bool SameSettings(const termios& a, const termios& b) {
  return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag &&
         a.c_cflag == b.c_cflag && a.c_lflag == b.c_lflag &&
         memcmp(a.c_cc, b.c_cc, sizeof a.c_cc) == 0 &&
         cfgetispeed(&a) == cfgetispeed(&b) &&
         cfgetospeed(&a) == cfgetospeed(&b);
}

}  // namespace support
