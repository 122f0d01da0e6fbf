#include "virtual_reader/host_line.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

HostLine::HostLine(const std::string& port_name)
    : line_(open(("/dev/" + port_name).c_str(), O_RDWR | O_NOCTTY)) {
  termios settings{};
  EXPECT_EQ(0, tcgetattr(line_.Get(), &settings));
  cfmakeraw(&settings);
  EXPECT_EQ(0, tcsetattr(line_.Get(), TCSANOW, &settings));
}

ssize_t HostLine::Send(const std::string& text) {
  return write(line_.Get(), text.data(), text.size());
}

std::string HostLine::Read(size_t count) {
  constexpr int kPatienceMs = 5000;
  std::string text;
  char c = 0;
  pollfd line{line_.Get(), POLLIN, 0};
  while (text.size() < count && poll(&line, 1, kPatienceMs) == 1 &&
         read(line_.Get(), &c, 1) == 1) {
    text += c;
  }
  return text;
}

std::string HostLine::Ask(const std::string& request, size_t reply_chars) {
  EXPECT_EQ(static_cast<ssize_t>(request.size()), Send(request));
  return Read(reply_chars);
}

bool HostLine::HasHungUp() {
  pollfd line{line_.Get(), 0, 0};
  poll(&line, 1, 0);
  return (line.revents & POLLHUP) != 0;
}
