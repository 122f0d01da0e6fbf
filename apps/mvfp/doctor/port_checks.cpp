// The port, who else has it open or talks on its line, and its lasting name.
#include <sys/sysmacros.h>
#include <unistd.h>

#include <regex>

#include "doctor/checks.h"
#include "files.h"
#include "ports/port.h"

namespace corvex::mvfp::doctor {
namespace {

const Process* FindNamed(const Box& box, const std::string& name) {
  return FindProcess(
      box, [&](const Process& process) { return process.name == name; });
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

Finding CheckUse(const Box& box, const std::string& port,
                 const struct stat& node) {
  const Process* const user = FindProcess(
      box, [&](const Process& process) { return UsesTerminal(process, node); });
  if (user != nullptr) {
    return {kProblem, "port", port + " is in use by " + Describe(*user),
            EndCommand(*user)};
  }
  return {kOk, "port",
          port + (geteuid() == 0 ? " is free"
                                 : " is free, as far as this user may see"),
          ""};
}

// One that asks for a log-in on this line: agetty and its kin.
void CheckLogIn(const Box& box, const std::string& port,
                const struct stat& node, Findings* findings) {
  const std::string argument = '\0' + port + '\0';
  const Process* const getty = FindProcess(box, [&](const Process& process) {
    return std::regex_search(process.name, std::regex("getty$")) &&
           (process.terminal == node.st_rdev ||
            Contains(ReadText(process.Entry("cmdline")), argument));
  });
  if (getty == nullptr) return;
  findings->push_back(
      {kProblem, "console", Describe(*getty) + " offers a log-in on " + port,
       "sudo systemctl disable --now serial-getty@" + port + ".service"});
}

// Where the machine's start-up keeps the kernel's options.
std::string ConsoleCommand(const std::string& console) {
  for (const std::string path : {"/boot/firmware/cmdline.txt",
                                 "/boot/cmdline.txt", "/etc/default/grub"}) {
    if (!Contains(ReadText(path), console)) continue;
    std::string command = "sudo sed -i 's/" + console;
    command.append("[^ \"]*//' ").append(path);
    if (Contains(path, "grub")) command += " && sudo update-grub";
    return command + " && sudo reboot";
  }
  return "sudo grep -rl " + console + " /boot /etc/default";
}

void CheckConsole(const std::string& port, Findings* findings) {
  const std::string console = "console=" + port;
  const std::regex option("(^|\\s)" + console + "[,\\s]");
  if (!std::regex_search(ReadText("/proc/cmdline"), option)) return;
  findings->push_back({kNote, "console",
                       "the kernel prints its messages on " + port,
                       ConsoleCommand(console)});
}

// It looks at adapters only, when they are plugged in and for a while after,
// and keeps off those that udev's rules marked.
void CheckModemProber(const Box& box, const std::string& port,
                      const struct stat& node, Findings* findings) {
  const Process* const prober = FindNamed(box, "ModemManager");
  if (prober == nullptr || port.rfind("ttyS", 0) == 0) return;
  const std::string marks =
      ReadText("/run/udev/data/c" + std::to_string(major(node.st_rdev)) + ":" +
               std::to_string(minor(node.st_rdev)));
  const bool keeps_off = Contains(marks, "E:ID_MM_PORT_IGNORE=1\n") ||
                         Contains(marks, "E:ID_MM_DEVICE_IGNORE=1\n");
  findings->push_back(
      keeps_off
          ? Finding{kOk, "modem", Describe(*prober) + " keeps off " + port, ""}
          : Finding{kNote, "modem",
                    Describe(*prober) + " may talk to " + port +
                        " when it is plugged in",
                    BindCommand(port)});
}

Finding CheckComLink(const std::string& port, const struct stat& node) {
  for (const std::string& com : PortsLike("COM*")) {
    std::string link = "/dev/" + com;
    struct stat target {};
    if (stat(link.c_str(), &target) == 0 && target.st_rdev == node.st_rdev) {
      return {kOk, "link", link.append(" is ").append(port), ""};
    }
  }
  return {kNote, "link",
          "no /dev/COM<n> is " + port +
              ": the JSON entry (mvfp info) cannot call it",
          BindCommand(port)};
}

}  // namespace

Findings CheckPort(const Box& box, const std::string& port) {
  const PortTrial trial = TryPort(port);
  if (trial.error != 0) {
    return {{kProblem, "port", trial.trouble, trial.command}};
  }
  struct stat node {};
  stat(("/dev/" + port).c_str(), &node);
  Findings findings = {CheckUse(box, port, node)};
  CheckLogIn(box, port, node, &findings);
  CheckConsole(port, &findings);
  CheckModemProber(box, port, node, &findings);
  findings.push_back(CheckComLink(port, node));
  return findings;
}

void CheckBraille(const Box& box, Findings* findings) {
  const Process* const braille = FindNamed(box, "brltty");
  if (braille == nullptr) return;
  findings->push_back(
      {kNote, "braille",
       Describe(*braille) +
           " takes adapters for braille displays; their ports then vanish",
       "sudo apt-get remove brltty"});
}

}  // namespace corvex::mvfp::doctor
