#include "support/pty.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

namespace support {

Pty::Pty() {
  char path[64] = {};
  EXPECT_EQ(0, openpty(&master_, &keeper_, path, nullptr, nullptr));
  for (const int end : {master_, keeper_}) fcntl(end, F_SETFD, FD_CLOEXEC);
  name_ = path + strlen("/dev/");
}

Pty::~Pty() {
  HangUp();
  close(keeper_);
}

void Pty::Send(const std::string& bytes) const {
  ASSERT_EQ(static_cast<ssize_t>(bytes.size()),
            write(master_, bytes.data(), bytes.size()));
}

std::string Pty::Receive(size_t count) const {
  std::string bytes;
  char byte = 0;
  while (bytes.size() < count && read(master_, &byte, 1) == 1) bytes += byte;
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
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return static_cast<int>(std::distance(begin(entries), end(entries))) - 1;
}

bool SameSettings(const termios& a, const termios& b) {
  return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag &&
         a.c_cflag == b.c_cflag && a.c_lflag == b.c_lflag &&
         memcmp(a.c_cc, b.c_cc, sizeof a.c_cc) == 0;
}

}  // namespace support
