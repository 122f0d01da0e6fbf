#include "ports/port_use.h"

#include <sys/sysmacros.h>
#include <unistd.h>

#include <filesystem>

#include "files.h"
#include "patterns.h"

namespace corvex::mvfp {
namespace {

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::string NumberOf(const struct stat& node) {
  return std::to_string(major(node.st_rdev)) + ":" +
         std::to_string(minor(node.st_rdev));
}

// The kernel lists its consoles: "ttyS0   -W- (EC  p a)    4:64".
bool IsConsole(const struct stat& node) {
  return Contains(ReadText("/proc/consoles"), " " + NumberOf(node) + "\n");
}

// One that asks for a log-in on this line: agetty and its kin.
bool OffersLogIn(const Process& process, const std::string& port,
                 const std::string& node_name, const struct stat& node) {
  if (!HasPattern(process.name, "getty$")) return false;
  const std::string line = ReadText(process.Entry("cmdline"));
  return process.terminal == node.st_rdev ||
         Contains(line, '\0' + port + '\0') ||
         Contains(line, '\0' + node_name + '\0');
}

// What ModemManager says of the ports of its modems:
// "modem.generic.ports.value[1] : ttyUSB2 (at)".
bool IsOfModem(const std::string& node_name) {
  static const std::string ports = OutputOf(
      "for modem in $(timeout 5 mmcli -L | grep -o '/org[^ ]*'); do "
      "timeout 5 mmcli -m \"$modem\" -K; done");
  return Contains(ports, " " + node_name + " (");
}

// It asks adapters when they are plugged in and for a while after, and keeps
// off those that udev's rules marked.
bool MayBeProbed(const std::string& node_name, const struct stat& node) {
  if (node_name.rfind("ttyUSB", 0) != 0 && node_name.rfind("ttyACM", 0) != 0) {
    return false;
  }
  const std::string marks = ReadText("/run/udev/data/c" + NumberOf(node));
  return !Contains(marks, "E:ID_MM_PORT_IGNORE=1\n") &&
         !Contains(marks, "E:ID_MM_DEVICE_IGNORE=1\n");
}

}  // namespace

PortUse UseOf(const std::string& port, const Processes& processes) {
  const std::filesystem::path path = "/dev/" + port;
  struct stat node {};
  // /dev/null and its kin are everybody's.
  constexpr unsigned kMemoryMajor = 1;
  if (stat(path.c_str(), &node) != 0 || !S_ISCHR(node.st_mode) ||
      major(node.st_rdev) == kMemoryMajor) {
    return {"", port + " is free", ""};
  }
  std::error_code error;
  const std::string name =
      std::filesystem::canonical(path, error).filename().string();
  if (IsConsole(node)) {
    return {"console", "the kernel's console is on " + port, ""};
  }
  if (const Process* const getty = FindProcess(processes,
                                               [&](const Process& process) {
                                                 return OffersLogIn(
                                                     process, port, name, node);
                                               });
      getty != nullptr) {
    return {"log-in", Describe(*getty) + " offers a log-in on " + port, ""};
  }
  const Process* const manager = FindProcess(
      processes,
      [](const Process& process) { return process.name == "ModemManager"; });
  if (manager != nullptr && IsOfModem(name)) {
    return {"modem", Describe(*manager) + " has a modem on " + port, ""};
  }
  const Process* const user = FindProcess(
      processes,
      [&](const Process& process) { return UsesTerminal(process, node); });
  if (user != nullptr) {
    return {"process", port + " is in use by " + Describe(*user), ""};
  }
  const bool is_probed = manager != nullptr && MayBeProbed(name, node);
  return {"",
          port + (geteuid() == 0 ? " is free"
                                 : " is free, as far as this user may see"),
          is_probed ? Describe(*manager) : ""};
}

}  // namespace corvex::mvfp
