#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>

#include "doctor/checks.h"

namespace corvex::mvfp::doctor {
namespace {

constexpr char kCheck[] = "lock";
constexpr char kPath[] = "/tmp/cx_nrbk_drv_file_mutex.lock";

// Who holds the lock, as far as this user may see.
struct Held {
  bool held = false;
  pid_t taker = 0;                  // the process that took it
  const Process* holder = nullptr;  // one that has it open
};

// How the kernel names the file in its lists of locks.
std::string FileName(const struct stat& file) {
  std::array<char, 64> name{};
  snprintf(name.data(), name.size(), "%02x:%02x:%lu", major(file.st_dev),
           minor(file.st_dev), static_cast<unsigned long>(file.st_ino));
  return name.data();
}

// "lock: 1: FLOCK ADVISORY WRITE 12 00:2b:5 0 EOF": the id stands before the
// file. Locks of other kinds do not keep a call out, and an arrow before the
// kind marks those who wait.
bool IsLine(const std::string& line, const std::string& file, pid_t* taker) {
  const std::vector<std::string> words = Words(line);
  const auto kind = std::find(words.begin(), words.end(), "FLOCK");
  const auto name = std::find(kind, words.end(), file);
  if (name == words.end() || *(kind - 1) == "->") return false;
  *taker = atoi((name - 1)->c_str());
  return true;
}

Held FindHolder(const Box& box, const std::string& file) {
  Held held;
  std::istringstream lines(ReadText("/proc/locks"));
  for (std::string line; std::getline(lines, line);) {
    held.held = held.held || IsLine(line, file, &held.taker);
  }
  for (const Process& process : box.processes) {
    for (const std::string& line : LocksOf(process)) {
      if (!IsLine(line, file, &held.taker)) continue;
      held.held = true;
      if (held.holder == nullptr || process.id == held.taker) {
        held.holder = &process;
      }
    }
  }
  if (held.holder == nullptr) held.holder = FindProcess(box, held.taker);
  return held;
}

Finding Report(const Held& held) {
  if (!held.held) return {Level::kOk, kCheck, "free", ""};
  if (held.holder == nullptr) {
    return {Level::kProblem, kCheck,
            "held by a process that only root may see: calls give -14",
            "sudo mvfp doctor"};
  }
  const Process& holder = *held.holder;
  const std::string since = ", which runs since " + StartOf(holder);
  if (holder.id == held.taker) {
    return {Level::kProblem, kCheck,
            "held by a call of " + Describe(holder) + since +
                ": others give -14 until it ends",
            EndCommand(holder)};
  }
  return {Level::kProblem, kCheck,
          "left over from a call whose process has ended, and kept by " +
              Describe(holder) + since + ": calls give -14",
          EndCommand(holder)};
}

}  // namespace

void CheckLock(const Box& box, Findings* findings) {
  struct stat file {};
  if (lstat(kPath, &file) != 0) {
    findings->push_back({Level::kOk, kCheck, "free", ""});
  } else if (!S_ISREG(file.st_mode)) {
    findings->push_back(
        {Level::kProblem, kCheck,
         std::string(kPath) + " is no regular file: calls give -14",
         std::string("sudo rm -r ") + kPath});
  } else if (access(kPath, R_OK) != 0) {
    findings->push_back(
        {Level::kProblem, kCheck,
         std::string("you may not open ") + kPath + ": calls give -14",
         std::string("sudo chmod 666 ") + kPath});
  } else {
    findings->push_back(Report(FindHolder(box, FileName(file))));
  }
}

}  // namespace corvex::mvfp::doctor
