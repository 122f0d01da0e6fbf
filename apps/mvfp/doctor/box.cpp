#include "doctor/box.h"

#include <fcntl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "driver.h"

namespace corvex::mvfp::doctor {
namespace {

namespace fs = std::filesystem;

// Fields of /proc/<id>/stat, counted from the one behind the name.
constexpr size_t kTerminalField = 4;
constexpr size_t kStartField = 19;

std::string Entry(pid_t id, const char* name) {
  return "/proc/" + std::to_string(id) + "/" + name;
}

// A name may hold blanks and parentheses.
std::vector<std::string> StatFields(pid_t id) {
  const std::string stat = ReadText(Entry(id, "stat"));
  const size_t name_end = stat.rfind(')');
  return name_end == std::string::npos ? std::vector<std::string>()
                                       : Words(stat.substr(name_end + 1));
}

std::vector<std::string> Arguments(pid_t id) {
  std::istringstream line(ReadText(Entry(id, "cmdline")));
  std::vector<std::string> arguments;
  for (std::string word; std::getline(line, word, '\0');) {
    arguments.push_back(word);
  }
  return arguments;
}

// The kernel's own threads have no terminal and no files.
bool Look(pid_t id, Process* process) {
  const std::vector<std::string> fields = StatFields(id);
  struct stat status {};
  if (fields.size() <= kStartField ||
      stat(Entry(id, "").c_str(), &status) != 0) {
    return false;
  }
  process->id = id;
  process->name = ReadText(Entry(id, "comm"));
  while (!process->name.empty() && process->name.back() == '\n') {
    process->name.pop_back();
  }
  process->arguments = Arguments(id);
  process->user = status.st_uid;
  process->terminal =
      static_cast<dev_t>(strtoul(fields[kTerminalField].c_str(), nullptr, 10));
  return true;
}

std::vector<Process> AllProcesses() {
  std::vector<Process> processes;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/proc", error)) {
    const pid_t id = atoi(entry.path().filename().c_str());
    Process process;
    if (id > 0 && id != getpid() && Look(id, &process)) {
      processes.push_back(process);
    }
  }
  return processes;
}

// The dynamic loader says which file it would take, and runs none of it.
std::string DriverFile() {
  std::error_code error;
  const std::string program = fs::read_symlink("/proc/self/exe", error);
  const std::string output = OutputOf(
      {program},
      {"LD_TRACE_LOADED_OBJECTS=1", std::string("LD_PRELOAD=") + kDriverFile});
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    const std::vector<std::string> words = Words(line);
    if (words.size() > 2 && words[0] == kDriverFile && words[1] == "=>") {
      return words[2];
    }
  }
  return "";
}

std::vector<fs::path> Descriptors(const Process& process, const char* kind) {
  std::vector<fs::path> descriptors;
  std::error_code error;
  for (const auto& entry :
       fs::directory_iterator(Entry(process.id, kind), error)) {
    descriptors.push_back(entry.path());
  }
  return descriptors;
}

// The other end of pseudo-terminal N says so: "tty-index: N".
bool PlaysOtherEnd(const Process& process, const struct stat& terminal) {
  constexpr unsigned kFirstPseudoMajor = 136;
  if (major(terminal.st_rdev) != kFirstPseudoMajor) return false;
  const std::string index = std::to_string(minor(terminal.st_rdev));
  for (const fs::path& info : Descriptors(process, "fdinfo")) {
    const std::vector<std::string> words = Words(ReadText(info.string()));
    const auto found = std::find(words.begin(), words.end(), "tty-index:");
    if (found != words.end() && found + 1 != words.end() &&
        *(found + 1) == index) {
      return true;
    }
  }
  return false;
}

}  // namespace

Box LookAround() {
  Box box;
  box.processes = AllProcesses();
  box.driver = DriverFile();
  box.directory = fs::path(box.driver).parent_path().string();
  return box;
}

const Process* FindProcess(const Box& box, pid_t id) {
  const auto found =
      std::find_if(box.processes.begin(), box.processes.end(),
                   [&](const Process& process) { return process.id == id; });
  return found == box.processes.end() ? nullptr : &*found;
}

const Process* FindProcess(const Box& box, const std::string& name) {
  const auto found = std::find_if(
      box.processes.begin(), box.processes.end(),
      [&](const Process& process) { return process.name == name; });
  return found == box.processes.end() ? nullptr : &*found;
}

std::string Describe(const Process& process) {
  return process.name + " (process " + std::to_string(process.id) + ")";
}

std::string EndCommand(const Process& process) {
  const bool is_own = geteuid() == 0 || geteuid() == process.user;
  return (is_own ? "kill " : "sudo kill ") + std::to_string(process.id);
}

std::string StartOf(const Process& process) {
  const std::vector<std::string> fields = StatFields(process.id);
  const std::vector<std::string> boot = Words(ReadText("/proc/stat"));
  const auto btime = std::find(boot.begin(), boot.end(), "btime");
  if (fields.size() <= kStartField || boot.end() - btime < 2) return "?";
  const time_t start =
      strtol((btime + 1)->c_str(), nullptr, 10) +
      strtol(fields[kStartField].c_str(), nullptr, 10) / sysconf(_SC_CLK_TCK);
  tm local{};
  localtime_r(&start, &local);
  std::array<char, 32> text{};
  strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
  return text.data();
}

bool UsesTerminal(const Process& process, const struct stat& terminal) {
  if (PlaysOtherEnd(process, terminal)) return false;
  if (process.terminal == terminal.st_rdev) return true;
  const std::vector<fs::path> descriptors = Descriptors(process, "fd");
  return std::any_of(
      descriptors.begin(), descriptors.end(), [&](const fs::path& fd) {
        struct stat file {};
        return stat(fd.c_str(), &file) == 0 && S_ISCHR(file.st_mode) &&
               file.st_rdev == terminal.st_rdev;
      });
}

std::vector<std::string> LocksOf(const Process& process) {
  std::vector<std::string> locks;
  for (const fs::path& info : Descriptors(process, "fdinfo")) {
    std::ifstream lines(info);
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind("lock:", 0) == 0) locks.push_back(line);
    }
  }
  return locks;
}

std::string ReadText(const std::string& path) {
  // Through a stream, which takes what a process that just ended leaves for the
  // end of the file; an iterator throws.
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

std::vector<std::string> Words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

bool HasProgram(const std::string& name) {
  const char* const path = getenv("PATH");
  std::istringstream directories(path == nullptr ? "/usr/bin:/bin" : path);
  for (std::string directory; std::getline(directories, directory, ':');) {
    directory += "/" + name;
    if (access(directory.c_str(), X_OK) == 0) return true;
  }
  return false;
}

}  // namespace corvex::mvfp::doctor
