#include "ports/port.h"

#include <fcntl.h>
#include <glob.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "files.h"
#include "machine/processes.h"
#include "mv_cmd/serial_port.h"
#include "ports/adapter.h"
#include "report.h"

namespace corvex::mvfp {
namespace {

constexpr char kDev[] = "/dev/";

// The kernel makes ttyS* for ports that a board might have; one without a chip
// has type 0.
bool HasChip(const std::string& port) {
  return ReadText("/sys/class/tty/" + port + "/type").rfind('0', 0) != 0;
}

// Does the user's entry name the group, which a log-in before that lacks?
bool IsMember(const group& members) {
  const passwd* const user = getpwuid(geteuid());
  char** name = members.gr_mem;
  while (user != nullptr && *name != nullptr) {
    if (strcmp(*name++, user->pw_name) == 0) return true;
  }
  return false;
}

// What udev makes of a port, for ports that udev knows.
bool HasRules(const std::string& port) {
  return !DeviceOf(port).empty() && access("/run/udev/control", F_OK) == 0;
}

// Rights that only root has are those of a port that no rule knows.
std::string RightCommand(const std::string& port) {
  constexpr mode_t kForGroup = S_IRGRP | S_IWGRP;
  struct stat node {};
  stat((kDev + port).c_str(), &node);
  const group* const found = getgrgid(node.st_gid);
  if (node.st_gid != 0 && (node.st_mode & kForGroup) == kForGroup &&
      found != nullptr) {
    const std::string name = found->gr_name;
    return IsMember(*found) ? "newgrp " + name
                            : AsRoot("adduser \"$USER\" " + name);
  }
  return HasRules(port) ? BindCommand(port)
                        : AsRoot("chown \"$USER\" " + (kDev + port));
}

// A daemon that takes adapters away as they are plugged in.
std::string BrailleTaker() {
  const Processes processes = OtherProcesses();
  const Process* const braille = FindProcess(
      processes, [](const Process& other) { return other.name == "brltty"; });
  return braille == nullptr ? ""
                            : "; " + Describe(*braille) +
                                  " takes adapters for braille displays";
}

// The system's reason why the driver could not use the port; 0 when it can now.
int ErrorOf(const std::string& name) {
  const int port = OpenPort(name);
  if (port < 0) return errno;
  termios settings{};
  const bool is_usable = tcgetattr(port, &settings) == 0 &&
                         tcsetattr(port, TCSANOW, &settings) == 0;
  const int error = is_usable ? 0 : errno;
  close(port);
  return error;
}

PortTrial Explained(const std::string& port, int error) {
  const std::string path = kDev + port;
  switch (error) {
    case 0:
      return {false, path + " failed, and can be used now", ""};
    case ENOENT:
      return {
          false, "there is no " + path + "; " + KnownPorts() + BrailleTaker(),
          LikelyPorts().empty() ? AsRoot("dmesg | grep tty") : "mvfp ports"};
    case EACCES:
      return {false, "you may not open " + path, RightCommand(port)};
    case EPERM:
      return {false, "this container may not open " + path, "ls -l " + path};
    case EBUSY:
      return {false, port + " is in use by a program that lets nobody else in",
              AsRoot("mvfp ports")};
    case EIO:
    case ENODEV:
    case ENXIO:
      return {false, "there is no hardware behind " + path, "mvfp ports"};
    default:
      return {false,
              path + (error == ENOTTY ? " is not a serial port"
                                      : std::string(": ") + strerror(error)),
              "ls -l " + path};
  }
}

}  // namespace

std::string PortName(const std::string& text) {
  const std::string name =
      text.rfind(kDev, 0) == 0 ? text.substr(strlen(kDev)) : text;
  return name.empty() || name.front() == '/' ? "" : name;
}

std::vector<std::string> PortsLike(const std::string& pattern) {
  glob_t found{};
  std::vector<std::string> ports;
  if (glob((kDev + pattern).c_str(), 0, nullptr, &found) == 0) {
    for (size_t i = 0; i < found.gl_pathc; ++i) {
      const char* const path = found.gl_pathv[i];
      if (access(path, F_OK) == 0) ports.push_back(PortName(path));
    }
  }
  globfree(&found);
  return ports;
}

bool IsSamePort(const std::string& name, const std::string& other) {
  struct stat node {};
  struct stat other_node {};
  return stat((kDev + name).c_str(), &node) == 0 &&
         stat((kDev + other).c_str(), &other_node) == 0 &&
         node.st_rdev == other_node.st_rdev;
}

std::vector<std::string> LikelyPorts() {
  std::vector<std::string> ports;
  for (const char* pattern : {"ttyUSB*", "ttyACM*", "ttyAMA*", "ttyS[0-9]*",
                              "ttyHS*", "ttymxc*", "ttySAC*", "ttyTHS*"}) {
    for (const std::string& port : PortsLike(pattern)) {
      if (HasChip(port)) ports.push_back(port);
    }
  }
  // Somebody gave a reader's name to a port of another kind.
  for (const std::string& name : PortsLike("COM*")) {
    const bool is_other = std::none_of(
        ports.begin(), ports.end(),
        [&](const std::string& port) { return IsSamePort(name, port); });
    if (is_other) ports.push_back(name);
  }
  return ports;
}

std::string KnownPorts() {
  std::vector<std::string> ports = LikelyPorts();
  for (const std::string& name : PortsLike("COM*")) {
    const auto known = std::find(ports.begin(), ports.end(), name);
    if (known == ports.end()) ports.push_back(name);
  }
  std::string text;
  for (const std::string& port : ports) {
    text += (text.empty() ? "ports of this machine: " : ", ") + port;
  }
  return text.empty() ? "no serial adapter is plugged in" : text;
}

std::string BindCommand(const std::string& port) {
  std::error_code error;
  int number = 1;
  while (
      std::filesystem::is_symlink("/dev/COM" + std::to_string(number), error)) {
    ++number;
  }
  const std::string com = std::to_string(number);
  return HasRules(port) ? AsRoot("mvfp bind " + com + " --port " + port)
                        : AsRoot("ln -s " + port + " /dev/COM" + com);
}

PortTrial TryPort(const std::string& name) {
  const int32_t port = corvex_open_uart(name.c_str());
  if (port < 0) return Explained(name, ErrorOf(name));
  corvex_close_uart(port);
  return {true, "", ""};
}

int OpenPort(const std::string& name) {
  return open((kDev + name).c_str(),
              O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
}

}  // namespace corvex::mvfp
