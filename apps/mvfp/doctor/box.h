// What the checks see of the machine.
#ifndef APPS_MVFP_DOCTOR_BOX_H_
#define APPS_MVFP_DOCTOR_BOX_H_

#include <sys/stat.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace corvex::mvfp::doctor {

struct Process {
  pid_t id = 0;
  std::string name;
  std::vector<std::string> arguments;
  uid_t user = 0;
  dev_t terminal = 0;  // the one that controls it
};

struct Box {
  std::vector<Process> processes;  // without this one
  std::string driver;              // its file; "" when there is none
  std::string directory;           // of that file
};

Box LookAround();

// Null when the box has none of that id or name.
const Process* FindProcess(const Box& box, pid_t id);
const Process* FindProcess(const Box& box, const std::string& name);

// "sleep (process 12)".
std::string Describe(const Process& process);

// The command that ends it.
std::string EndCommand(const Process& process);

// When it began, as local time.
std::string StartOf(const Process& process);

// Has the process this terminal open? It does not count who plays the other
// end of a pseudo-terminal and so keeps both open.
bool UsesTerminal(const Process& process, const struct stat& terminal);

// The lines of its open descriptors' descriptions that tell of locks.
std::vector<std::string> LocksOf(const Process& process);

std::string ReadText(const std::string& path);
std::vector<std::string> Words(const std::string& text);

// In a directory of PATH, or where system programs lie.
bool HasProgram(const std::string& name);

// What a child process says, for work that might end it.
struct Said {
  std::string text;
  bool ended = false;  // before it could say anything
  bool hung = false;   // it was ended after a generous while
};
Said AskChild(const std::function<std::string()>& work);

// What a program prints on standard output, with variables ("NAME=value") added
// to its environment.
std::string OutputOf(const std::vector<std::string>& command,
                     const std::vector<std::string>& variables = {});

}  // namespace corvex::mvfp::doctor

#endif  // APPS_MVFP_DOCTOR_BOX_H_
