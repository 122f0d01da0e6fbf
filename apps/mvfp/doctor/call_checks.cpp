// What lies in /tmp for the calls of everybody: the lock and the day's log.
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <regex>

#include "calls/day_log.h"
#include "cx_file_lock/cx_file_lock.h"
#include "doctor/checks.h"
#include "files.h"

namespace corvex::mvfp::doctor {
namespace {

Finding LockProblem(const std::string& text, const std::string& command) {
  return {kProblem, "lock", text + ": calls give -14", command};
}

// Who took the lock on the file, from what the kernel says of locks:
// "1: FLOCK ADVISORY WRITE 12 00:2b:5 0 EOF". Locks of other kinds do not keep
// a call out, and an arrow before the kind marks those who wait.
std::optional<pid_t> TakerIn(const std::string& path, const std::string& file) {
  const std::string text = ReadText(path);
  const std::regex line(": FLOCK .* ([0-9]+) " + file + " ");
  std::smatch found;
  if (!std::regex_search(text, found, line)) return std::nullopt;
  return atoi(found[1].str().c_str());
}

// A process that has the lock: the one that took it, else one that got it from
// there. Null when this user may not see any.
const Process* FindHolder(const Box& box, pid_t* taker) {
  struct stat status {};
  lstat(kCallLockPath, &status);
  std::array<char, 64> file{};  // as the kernel names it in what it says
  snprintf(file.data(), file.size(), "%02x:%02x:%lu", major(status.st_dev),
           minor(status.st_dev), status.st_ino);
  const Process* holder = nullptr;
  for (const Process& process : box.processes) {
    for (const std::string& info : Descriptors(process, "fdinfo")) {
      const auto found = TakerIn(info, file.data());
      if (!found) continue;
      *taker = *found;
      if (holder == nullptr || process.id == *taker) holder = &process;
    }
  }
  if (holder != nullptr) return holder;
  *taker = TakerIn("/proc/locks", file.data()).value_or(0);
  return FindProcess(
      box, [&](const Process& process) { return process.id == *taker; });
}

Finding Held(const Box& box) {
  pid_t taker = 0;
  const Process* const holder = FindHolder(box, &taker);
  if (holder == nullptr) {
    return LockProblem("held by a process that only root may see",
                       "sudo mvfp doctor");
  }
  const std::string who =
      Describe(*holder) + ", which runs since " + StartOf(*holder);
  if (holder->id != taker) {
    return LockProblem(
        "left over from a call whose process has ended, and kept by " + who,
        EndCommand(*holder));
  }
  return {kProblem, "lock",
          "held by a call of " + who + ": others give -14 until it ends",
          EndCommand(*holder)};
}

Finding Unopened(int error) {
  const std::string path = kCallLockPath;
  struct stat file {};
  if (lstat(kCallLockPath, &file) != 0) {
    return LockProblem("cannot make " + path + ": " + strerror(error),
                       "ls -ld /tmp");
  }
  return S_ISREG(file.st_mode)
             ? LockProblem("you may not open " + path, "sudo chmod 666 " + path)
             : LockProblem(path + " is no regular file", "sudo rm " + path);
}

}  // namespace

// As a call does it: one attempt.
Finding CheckLock(const Box& box) {
  const int32_t lock = cx_file_lock();
  const int error = errno;
  if (cx_file_unlock(lock) == 0 && lock >= 0) return {kOk, "lock", "free", ""};
  return error == EWOULDBLOCK ? Held(box) : Unopened(error);
}

// Calls work in any case.
Finding CheckLog() {
  const std::string path = DayLogPath();
  const auto type = std::filesystem::symlink_status(path).type();
  if (type == std::filesystem::file_type::not_found)
    return {kOk, "log", "off", ""};
  if (type != std::filesystem::file_type::regular) {
    return {kNote, "log", path + " is no regular file: nothing is logged",
            "sudo rm " + path};
  }
  if (access(path.c_str(), W_OK) != 0) {
    return {kNote, "log", "you may not write " + path + ": nothing is logged",
            "sudo chmod 666 " + path};
  }
  return {kNote, "log", path + " is on: every call writes to it",
          "mvfp log off"};
}

}  // namespace corvex::mvfp::doctor
