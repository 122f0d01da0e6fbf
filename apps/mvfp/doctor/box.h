// What the checks see of the machine.
#ifndef APPS_MVFP_DOCTOR_BOX_H_
#define APPS_MVFP_DOCTOR_BOX_H_

#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <string>
#include <vector>

namespace corvex::mvfp::doctor {

struct Process {
  pid_t id = 0;
  std::string name;
  uid_t user = 0;
  dev_t terminal = 0;    // the one that controls it
  long start_ticks = 0;  // since the machine's start

  std::string Entry(const char* below) const;  // "/proc/<id>/<below>"
};

struct Box {
  std::vector<Process> processes;  // without this one
  std::string driver;              // its file; "" when there is none
  std::string directory;           // of that file
};

Box LookAround();

// The first that fits; null when none does.
template <typename Fits>
const Process* FindProcess(const Box& box, const Fits& fits) {
  const auto found =
      std::find_if(box.processes.begin(), box.processes.end(), fits);
  return found == box.processes.end() ? nullptr : &*found;
}

// "sleep (process 12)".
std::string Describe(const Process& process);

// The command that ends it.
std::string EndCommand(const Process& process);

// When it began, as local time.
std::string StartOf(const Process& process);

// Has the process this terminal open? It does not count who plays the other
// end of a pseudo-terminal and so keeps both open.
bool UsesTerminal(const Process& process, const struct stat& terminal);

// The paths of what /proc says of its open descriptors: "fd" or "fdinfo".
std::vector<std::string> Descriptors(const Process& process, const char* kind);

// What a command of the shell prints on standard output.
std::string OutputOf(const std::string& command);

}  // namespace corvex::mvfp::doctor

#endif  // APPS_MVFP_DOCTOR_BOX_H_
