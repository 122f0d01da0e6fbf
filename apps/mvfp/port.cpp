#include "port.h"

#include <fcntl.h>
#include <glob.h>
#include <grp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>

namespace corvex::mvfp {
namespace {

using Clock = std::chrono::steady_clock;

// A reader needs a moment to answer; the longest reply takes 2.2 s.
constexpr int kSilenceMs = 250;
constexpr auto kLongestSettling = std::chrono::seconds(3);

int OpenPort(const std::string& path, int mode) {
  return open(path.c_str(), mode | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
}

std::string GroupOf(const struct stat& status) {
  const group* const found = getgrgid(status.st_gid);
  return found != nullptr ? found->gr_name : std::to_string(status.st_gid);
}

std::string NoRight(const std::string& path, const struct stat& status) {
  const std::string owner = GroupOf(status);
  return "you may not open " + path + "; members of the group " + owner +
         " may: sudo adduser \"$USER\" " + owner + ", then log in again";
}

bool IsSending(int port) {
  int waiting = 0;
  return ioctl(port, TIOCOUTQ, &waiting) == 0 && waiting > 0;
}

// False when the port has hung up.
bool Discard(int port) {
  std::array<char, 256> bytes;
  const ssize_t count = read(port, bytes.data(), bytes.size());
  return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

}  // namespace

std::string PortName(const std::string& text) {
  constexpr char kDev[] = "/dev/";
  const std::string name =
      text.rfind(kDev, 0) == 0 ? text.substr(strlen(kDev)) : text;
  return name.empty() || name.front() == '/' ? "" : name;
}

std::string KnownPorts() {
  glob_t found{};
  int flags = 0;
  for (const char* pattern :
       {"/dev/ttyUSB*", "/dev/ttyACM*", "/dev/ttyAMA*", "/dev/COM*"}) {
    if (glob(pattern, flags, nullptr, &found) == 0) flags = GLOB_APPEND;
  }
  std::string ports;
  for (size_t i = 0; i < found.gl_pathc; ++i) {
    ports += (ports.empty() ? "" : ", ") + PortName(found.gl_pathv[i]);
  }
  globfree(&found);
  return ports.empty() ? "no serial adapter is plugged in"
                       : "ports of this machine: " + ports;
}

std::string PortTrouble(const std::string& name) {
  const std::string path = "/dev/" + name;
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return "there is no " + path + "; " + KnownPorts();
    return path + ": " + strerror(errno);
  }
  const int port = OpenPort(path, O_RDWR);
  if (port < 0) {
    return errno == EACCES || errno == EPERM ? NoRight(path, status)
                                             : path + ": " + strerror(errno);
  }
  const bool is_terminal = isatty(port) != 0;
  close(port);
  return is_terminal ? "" : path + " is not a serial port";
}

PortKeeper::PortKeeper(const std::string& name)
    : port_(OpenPort("/dev/" + name, O_RDWR)) {
  saved_ = port_ >= 0 && tcgetattr(port_, &settings_) == 0;
}

PortKeeper::~PortKeeper() {
  if (port_ >= 0) close(port_);
}

void PortKeeper::Settle(int stop) const {
  if (!saved_) return;
  const auto give_up = Clock::now() + kLongestSettling;
  while (Clock::now() < give_up) {
    pollfd events[] = {{port_, POLLIN, 0}, {stop, POLLIN, 0}};
    const int ready = poll(events, 2, kSilenceMs);
    if (ready < 0 || events[1].revents != 0) break;
    if (ready == 0 && !IsSending(port_)) break;
    if (events[0].revents != 0 && !Discard(port_)) break;
  }
  tcsetattr(port_, TCSANOW, &settings_);
}

}  // namespace corvex::mvfp
