// The processes of this machine, as far as this user may see.
#ifndef APPS_MVFP_MACHINE_PROCESSES_H_
#define APPS_MVFP_MACHINE_PROCESSES_H_

#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <string>
#include <vector>

namespace corvex::mvfp {

struct Process {
  pid_t id = 0;
  std::string name;
  dev_t terminal = 0;    // the one that controls it
  long start_ticks = 0;  // since the machine's start

  std::string Entry(const char* below) const;  // "/proc/<id>/<below>"
};
using Processes = std::vector<Process>;

// All but this one.
Processes OtherProcesses();

// The first that fits; null when none does.
template <typename Fits>
const Process* FindProcess(const Processes& processes, const Fits& fits) {
  const auto found = std::find_if(processes.begin(), processes.end(), fits);
  return found == processes.end() ? nullptr : &*found;
}

// "sleep (process 12)".
std::string Describe(const Process& process);

// When it began, as local time.
std::string StartOf(const Process& process);

// Has the process this terminal open? It does not count who plays the other
// end of a pseudo-terminal and so keeps both open.
bool UsesTerminal(const Process& process, const struct stat& terminal);

// The paths of what /proc says of its open descriptors: "fd" or "fdinfo".
std::vector<std::string> Descriptors(const Process& process, const char* kind);

// What a command of the shell prints on standard output.
std::string OutputOf(const std::string& command);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_MACHINE_PROCESSES_H_
