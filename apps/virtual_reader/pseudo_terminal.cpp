#include "virtual_reader/pseudo_terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>

#include <cerrno>
#include <system_error>

namespace corvex::vreader {
namespace {

[[noreturn]] void Fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// A line that nobody has set up yet, as a host would find it. It does not echo:
// a reply that comes when no host listens must not return to the reader.
void SetUpLine(int slave) {
  termios settings{};
  if (tcgetattr(slave, &settings) != 0) Fail("terminal settings");
  settings.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL);
  if (tcsetattr(slave, TCSANOW, &settings) != 0) Fail("terminal settings");
}

}  // namespace

PseudoTerminal::PseudoTerminal()
    : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK)) {
  constexpr int kPrefixChars = 5;  // "/dev/"
  char path[64];
  if (Master() < 0 || grantpt(Master()) != 0 || unlockpt(Master()) != 0 ||
      ptsname_r(Master(), path, sizeof path) != 0) {
    Fail("pseudo-terminal");
  }
  slave_.Reset(open(path, O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  if (slave_.Get() < 0) Fail(path);
  SetUpLine(slave_.Get());
  name_ = path + kPrefixChars;
}

termios PseudoTerminal::Settings() const {
  termios settings{};
  tcgetattr(slave_.Get(), &settings);
  return settings;
}

bool PseudoTerminal::HostHasUnread() const {
  // Not FIONREAD: it misses what the kernel has not handed over yet.
  pollfd slave{slave_.Get(), POLLIN, 0};
  return poll(&slave, 1, 0) == 1 && (slave.revents & POLLIN) != 0;
}

void PseudoTerminal::HangUp() { master_.Reset(); }

}  // namespace corvex::vreader
