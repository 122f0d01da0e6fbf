#include "machine/processes.h"

#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>

#include "files.h"
#include "patterns.h"

namespace corvex::mvfp {
namespace {

namespace fs = std::filesystem;

// Fields of /proc/<id>/stat, counted from the one behind the name.
constexpr size_t kTerminalField = 4;
constexpr size_t kStartField = 19;

// The paths in a directory, which may vanish meanwhile.
std::vector<std::string> Entries(const std::string& directory) {
  std::vector<std::string> paths;
  std::error_code error;
  for (fs::directory_iterator entry(directory, error), end;
       !error && entry != end; entry.increment(error)) {
    paths.push_back(entry->path());
  }
  return paths;
}

// The other end of pseudo-terminal N says so: "tty-index: N".
bool PlaysOtherEnd(const Process& process, const struct stat& terminal) {
  constexpr unsigned kFirstPseudoMajor = 136;
  if (major(terminal.st_rdev) != kFirstPseudoMajor) return false;
  std::string infos;
  for (const std::string& path : Descriptors(process, "fdinfo")) {
    infos += ReadText(path);
  }
  return HasPattern(infos, "tty-index:\\s*" +
                               std::to_string(minor(terminal.st_rdev)) + "\\b");
}

}  // namespace

Processes OtherProcesses() {
  Processes processes;
  for (const std::string& path : Entries("/proc")) {
    // "12 (sleep) S 1 ..."; a name may hold blanks and parentheses.
    const std::string text = ReadText(path + "/stat");
    const size_t name = text.find('(') + 1;
    const size_t end = text.rfind(')');
    const pid_t id = atoi(text.c_str());
    if (end == std::string::npos || id == getpid()) continue;
    const std::vector<std::string> fields = Words(text.substr(end + 1));
    processes.push_back({id, text.substr(name, end - name),
                         std::stoul(fields.at(kTerminalField)),
                         std::stol(fields.at(kStartField))});
  }
  return processes;
}

std::string Process::Entry(const char* below) const {
  return "/proc/" + std::to_string(id) + "/" + below;
}

std::string OutputOf(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> answer(
      popen((command + " 2>/dev/null").c_str(), "re"), pclose);
  std::array<char, 4096> bytes{};
  std::string output;
  size_t count = 0;
  while (answer != nullptr &&
         (count = fread(bytes.data(), 1, bytes.size(), answer.get())) > 0) {
    output.append(bytes.data(), count);
  }
  return output;
}

std::string Describe(const Process& process) {
  return process.name + " (process " + std::to_string(process.id) + ")";
}

std::string StartOf(const Process& process) {
  const time_t up_s = atol(ReadText("/proc/uptime").c_str());
  const time_t start =
      time(nullptr) - up_s + process.start_ticks / sysconf(_SC_CLK_TCK);
  std::array<char, 32> text{};
  strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", localtime(&start));
  return text.data();
}

bool UsesTerminal(const Process& process, const struct stat& terminal) {
  if (PlaysOtherEnd(process, terminal)) return false;
  if (process.terminal == terminal.st_rdev) return true;
  const std::vector<std::string> files = Descriptors(process, "fd");
  return std::any_of(files.begin(), files.end(), [&](const std::string& path) {
    struct stat file {};
    return stat(path.c_str(), &file) == 0 && S_ISCHR(file.st_mode) &&
           file.st_rdev == terminal.st_rdev;
  });
}

std::vector<std::string> Descriptors(const Process& process, const char* kind) {
  return Entries(process.Entry(kind));
}

}  // namespace corvex::mvfp
