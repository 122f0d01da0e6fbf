#include "machine/call_lock.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "cx_file_lock/cx_file_lock.h"
#include "files.h"
#include "machine/processes.h"
#include "patterns.h"
#include "report.h"

namespace corvex::mvfp {
namespace {

// Who took the lock of a file, from what the kernel says of locks:
// "1: FLOCK ADVISORY WRITE 12 00:2b:5 0 EOF". Locks of other kinds do not keep
// a call out, and an arrow before the kind marks those who wait.
std::optional<pid_t> TakerIn(const std::string& path, const std::string& file) {
  const auto found =
      FindPattern(ReadText(path), ": FLOCK .* ([0-9]+) " + file + " ");
  if (found.empty()) return std::nullopt;
  return atoi(found[1].c_str());
}

// Of all locks, that of this file. A file of several layers, as containers have
// them, has another number there, and is not found.
std::optional<pid_t> TakerOf(const struct stat& lock) {
  std::array<char, 64> file{};
  snprintf(file.data(), file.size(), "%02x:%02x:%lu", major(lock.st_dev),
           minor(lock.st_dev), lock.st_ino);
  return TakerIn("/proc/locks", file.data());
}

bool IsFile(const std::string& path, const struct stat& file) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && status.st_dev == file.st_dev &&
         status.st_ino == file.st_ino;
}

// A process that has the lock: the one that took it, else one that got it from
// there. Null when this user may not see any.
const Process* FindHolder(const Processes& processes, pid_t* taker) {
  const Process* holder = nullptr;
  struct stat lock {};
  stat(kCallLockPath, &lock);
  for (const Process& process : processes) {
    for (const std::string& path : Descriptors(process, "fd")) {
      if (!IsFile(path, lock)) continue;
      const std::string number = path.substr(path.rfind('/') + 1);
      const auto found =
          TakerIn(process.Entry("fdinfo/") + number, "[0-9a-f:]+");
      if (!found) continue;
      *taker = *found;
      if (holder == nullptr || process.id == *taker) holder = &process;
    }
  }
  if (holder != nullptr) return holder;
  *taker = TakerOf(lock).value_or(0);
  return FindProcess(
      processes, [&](const Process& process) { return process.id == *taker; });
}

// The command for a directory that takes no new file.
std::string WhyNoFile(int error) {
  if (error == EACCES || error == ENOENT) {
    return AsRoot("install -d -m 1777 /tmp");
  }
  return error == ENOSPC ? "df /tmp; df -i /tmp" : "findmnt -T /tmp";
}

std::string DescribeHolder() {
  const Processes processes = OtherProcesses();
  pid_t taker = 0;
  const Process* const holder = FindHolder(processes, &taker);
  if (holder == nullptr) return "held by a process that only root may see";
  const std::string who =
      Describe(*holder) + ", which runs since " + StartOf(*holder);
  return holder->id == taker
             ? "held by a call of " + who
             : "left over from a call whose process has ended, and kept by " +
                   who + ", until that ends";
}

}  // namespace

LockTrouble ExplainLock(int error) {
  if (error == EWOULDBLOCK) return {true, DescribeHolder(), ""};
  const std::string path = kCallLockPath;
  struct stat file {};
  if (lstat(kCallLockPath, &file) != 0) {
    return {false, "cannot make " + path + ": " + strerror(error),
            WhyNoFile(error)};
  }
  if (S_ISLNK(file.st_mode)) {
    return {false, path + " is a link, which no call follows",
            AsRoot("rm " + path)};
  }
  const bool lacks_rights = error == EACCES && S_ISREG(file.st_mode);
  return {false, "cannot open " + path + ": " + strerror(error),
          lacks_rights ? AsRoot("chmod 666 " + path) : "ls -l " + path};
}

int TryCallLock() {
  const int32_t lock = cx_file_lock();
  if (lock < 0) return errno;
  cx_file_unlock(lock);
  return 0;
}

bool IsCallLockHeld() {
  struct stat lock {};
  return stat(kCallLockPath, &lock) == 0 && TakerOf(lock).has_value();
}

}  // namespace corvex::mvfp
