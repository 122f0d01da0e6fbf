#include "virtual_reader/pseudo_terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>

#include <cerrno>
#include <system_error>

namespace corvex::vreader {

PseudoTerminal::PseudoTerminal()
    : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK)) {
  constexpr int kPrefixChars = 5;  // "/dev/"
  char path[64];
  bool good = Master() >= 0 && grantpt(Master()) == 0 &&
              unlockpt(Master()) == 0 &&
              ptsname_r(Master(), path, sizeof path) == 0;
  if (good)
    slave_.Reset(open(path, O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  // A line that nobody has set up yet, as a host would find it. It does not
  // echo: a reply that comes when no host listens must not return to the
  // reader.
  termios settings{};
  good = good && tcgetattr(slave_.Get(), &settings) == 0;
  settings.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL);
  if (!good || tcsetattr(slave_.Get(), TCSANOW, &settings) != 0) {
    throw std::system_error(errno, std::generic_category(), "pseudo-terminal");
  }
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

}  // namespace corvex::vreader
