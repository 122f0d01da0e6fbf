#include <sys/sysmacros.h>

#include <algorithm>

#include "doctor/checks.h"

namespace corvex::mvfp::doctor {
namespace {

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() &&
         text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// One that asks for a log-in on this line: agetty and its kin.
const Process* FindLogIn(const Box& box, const std::string& port) {
  const auto found = std::find_if(
      box.processes.begin(), box.processes.end(), [&](const Process& process) {
        const auto& arguments = process.arguments;
        struct stat node {};
        return EndsWith(process.name, "getty") &&
               (std::find(arguments.begin(), arguments.end(), port) !=
                    arguments.end() ||
                (stat(("/dev/" + port).c_str(), &node) == 0 &&
                 process.terminal == node.st_rdev));
      });
  return found == box.processes.end() ? nullptr : &*found;
}

void CheckLogIn(const Box& box, const std::string& port, Findings* findings) {
  const Process* const getty = FindLogIn(box, port);
  if (getty == nullptr) return;
  findings->push_back(
      {Level::kProblem, "console",
       Describe(*getty) + " offers a log-in on " + port,
       "sudo systemctl disable --now serial-getty@" + port + ".service"});
}

bool IsConsole(const std::string& port) {
  const std::string option = "console=" + port;
  const std::vector<std::string> words = Words(ReadText("/proc/cmdline"));
  return std::any_of(words.begin(), words.end(), [&](const std::string& word) {
    return word == option || word.rfind(option + ",", 0) == 0;
  });
}

// Where the machine's start-up keeps the kernel's options.
std::string ConsoleCommand(const std::string& port) {
  for (const char* path : {"/boot/firmware/cmdline.txt", "/boot/cmdline.txt",
                           "/etc/default/grub"}) {
    if (ReadText(path).find("console=" + port) == std::string::npos) continue;
    std::string command = "sudo sed -i 's/console=" + port;
    command.append("[^ \"]*//' ").append(path);
    if (EndsWith(path, "grub")) command += " && sudo update-grub";
    return command + " && sudo reboot";
  }
  return "sudo grep -rl console=" + port + " /boot /etc/default";
}

void CheckConsole(const std::string& port, Findings* findings) {
  if (!IsConsole(port)) return;
  findings->push_back({Level::kNote, "console",
                       "the kernel prints its messages on " + port,
                       ConsoleCommand(port)});
}

// What udev's rules told the prober about the port.
bool IsKeptAway(const std::string& port) {
  struct stat node {};
  if (stat(("/dev/" + port).c_str(), &node) != 0) return false;
  const std::string properties =
      ReadText("/run/udev/data/c" + std::to_string(major(node.st_rdev)) + ":" +
               std::to_string(minor(node.st_rdev)));
  return properties.find("E:ID_MM_PORT_IGNORE=1\n") != std::string::npos ||
         properties.find("E:ID_MM_DEVICE_IGNORE=1\n") != std::string::npos;
}

// It looks at adapters only, when they are plugged in and for a while after.
void CheckModemProber(const Box& box, const std::string& port,
                      Findings* findings) {
  const Process* const prober = FindProcess(box, "ModemManager");
  if (prober == nullptr || port.rfind("ttyS", 0) == 0) return;
  if (IsKeptAway(port)) {
    findings->push_back(
        {Level::kOk, "modem", Describe(*prober) + " keeps off " + port, ""});
    return;
  }
  findings->push_back(
      {Level::kNote, "modem",
       Describe(*prober) + " may talk to " + port + " when it is plugged in",
       BindCommand(port)});
}

}  // namespace

void CheckNeighbours(const Box& box, const std::string& port,
                     Findings* findings) {
  CheckLogIn(box, port, findings);
  CheckConsole(port, findings);
  CheckModemProber(box, port, findings);
}

void CheckBraille(const Box& box, Findings* findings) {
  const Process* const braille = FindProcess(box, "brltty");
  if (braille == nullptr) return;
  findings->push_back(
      {Level::kNote, "braille",
       Describe(*braille) +
           " takes adapters for braille displays; their ports then vanish",
       "sudo apt-get remove brltty"});
}

}  // namespace corvex::mvfp::doctor
