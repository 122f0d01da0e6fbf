#include <fcntl.h>
#include <glob.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "doctor/checks.h"
#include "port.h"

namespace corvex::mvfp::doctor {
namespace {

namespace fs = std::filesystem;

constexpr char kCheck[] = "port";

std::vector<std::string> Matching(const char* pattern) {
  glob_t found{};
  std::vector<std::string> paths;
  if (glob(pattern, 0, nullptr, &found) == 0) {
    paths.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  }
  globfree(&found);
  return paths;
}

// The kernel makes ttyS* for ports that a board might have; one without a chip
// has type 0.
bool HasChip(const std::string& port) {
  const std::string type = ReadText("/sys/class/tty/" + port + "/type");
  return type.empty() || type[0] != '0';
}

// Does the user's entry name the group, which a log-in before that lacks?
bool IsMember(const group& members) {
  const passwd* const user = getpwuid(geteuid());
  if (user == nullptr) return false;
  for (char** name = members.gr_mem; *name != nullptr; ++name) {
    if (std::string(*name) == user->pw_name) return true;
  }
  return false;
}

// Rights that only root has are those of a port that no rule knows.
std::string RightCommand(const std::string& port, const struct stat& node) {
  constexpr mode_t kForGroup = S_IRGRP | S_IWGRP;
  const group* const found = getgrgid(node.st_gid);
  if (node.st_gid == 0 || (node.st_mode & kForGroup) != kForGroup ||
      found == nullptr) {
    return BindCommand(port);
  }
  return (IsMember(*found) ? "newgrp " : "sudo adduser \"$USER\" ") +
         std::string(found->gr_name);
}

Finding InUse(const std::string& port, const std::string& by,
              const std::string& command) {
  return {Level::kProblem, kCheck, port + " is in use by " + by, command};
}

Finding Unopened(const std::string& port, int error, const struct stat& node) {
  const std::string path = "/dev/" + port;
  if (error == EBUSY) {
    return InUse(port, "a program that lets nobody else in",
                 "sudo fuser -v " + path);
  }
  if (error == EACCES || error == EPERM) {
    return {Level::kProblem, kCheck, "you may not open " + path,
            RightCommand(port, node)};
  }
  return {Level::kProblem, kCheck, PortTrouble(port), "ls -l " + path};
}

Finding Absent(const std::string& port) {
  const bool has_others = !LikelyPorts().empty();
  return {Level::kProblem, kCheck, PortTrouble(port),
          has_others ? "mvfp doctor" : "sudo dmesg | grep tty"};
}

Finding FindUser(const Box& box, const std::string& port,
                 const struct stat& node) {
  for (const Process& process : box.processes) {
    if (UsesTerminal(process, node)) {
      return InUse(port, Describe(process), EndCommand(process));
    }
  }
  return {Level::kOk, kCheck,
          port + (geteuid() == 0 ? " is free"
                                 : " is free, as far as this user may see"),
          ""};
}

}  // namespace

std::vector<std::string> LikelyPorts() {
  std::vector<std::string> ports;
  for (const char* pattern :
       {"/dev/ttyUSB*", "/dev/ttyACM*", "/dev/ttyAMA*", "/dev/ttyS[0-9]*"}) {
    for (const std::string& path : Matching(pattern)) {
      const std::string port = PortName(path);
      if (HasChip(port)) ports.push_back(port);
    }
  }
  return ports;
}

bool CheckPort(const Box& box, const std::string& port, Findings* findings) {
  const std::string path = "/dev/" + port;
  struct stat node {};
  if (stat(path.c_str(), &node) != 0) {
    findings->push_back(Absent(port));
    return false;
  }
  const int file =
      open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) {
    findings->push_back(Unopened(port, errno, node));
    return false;
  }
  const bool is_terminal = isatty(file) != 0;
  close(file);
  findings->push_back(is_terminal
                          ? FindUser(box, port, node)
                          : Finding{Level::kProblem, kCheck, PortTrouble(port),
                                    "ls -l " + path});
  return is_terminal;
}

void CheckComLink(const Box& /*box*/, const std::string& port,
                  Findings* findings) {
  struct stat node {};
  struct stat target {};
  stat(("/dev/" + port).c_str(), &node);
  for (const std::string& link : Matching("/dev/COM*")) {
    if (stat(link.c_str(), &target) != 0) continue;
    if (target.st_rdev != node.st_rdev) continue;
    std::string text = link;
    text.append(" is ").append(port);
    findings->push_back({Level::kOk, "link", text, ""});
    return;
  }
  findings->push_back({Level::kNote, "link",
                       "no /dev/COM<n> is " + port +
                           ": the JSON entry (mvfp info) cannot call it",
                       BindCommand(port)});
}

std::string BindCommand(const std::string& port) {
  std::error_code error;
  int number = 1;
  while (fs::is_symlink("/dev/COM" + std::to_string(number), error)) ++number;
  const std::string com = std::to_string(number);
  // No rule knows a pseudo-terminal, where a virtual reader is.
  if (port.rfind("pts/", 0) == 0)
    return "sudo ln -s " + port + " /dev/COM" + com;
  return "sudo mvfp bind " + com + " --port " + port;
}

}  // namespace corvex::mvfp::doctor
