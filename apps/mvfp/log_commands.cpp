// log on, log off, log follow: the driver's diagnostic log of the day.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "commands.h"
#include "day_log.h"
#include "report.h"

namespace corvex::mvfp {
namespace {

constexpr int kPollMs = 200;

int PrintTrouble(const Config& config, const std::string& what,
                 const std::string& next) {
  Failure failure;
  failure.what = what;
  failure.next = next;
  return PrintFailure(config, failure);
}

int PrintForeign(const Config& config, const std::string& path) {
  return PrintTrouble(config, path + " is no regular file; leaving it alone",
                      "see who made it: ls -l " + path);
}

int PrintSystemError(const Config& config, const std::string& verb,
                     const std::string& path) {
  return PrintTrouble(config,
                      "cannot " + verb + " " + path + ": " + strerror(errno),
                      "see whose it is: ls -l " + path);
}

int PrintState(const Config& config, bool on, bool changed,
               const std::string& path) {
  const std::string text = std::string("log ") + (changed ? "" : "already ") +
                           (on ? "on: " : "off: ") + path + "\n";
  return PrintResult(config, {{"on", on}, {"changed", changed}, {"path", path}},
                     text);
}

// Every user's calls write to it, whatever this user's mask.
bool MakeLog(const std::string& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                        S_IRUSR | S_IWUSR);
  if (file < 0) return false;
  const bool opened_to_all = fchmod(file, 0666) == 0;
  return close(file) == 0 && opened_to_all;
}

int PrintFollowed(const Config& config, const std::string& line) {
  return PrintResult(config, {{"line", line}}, Printable(line) + "\n");
}

}  // namespace

int RunLogOn(const Config& config) {
  const std::string path = DayLogPath();
  const LogState state = StateOf(path);
  if (state == LogState::kForeign) return PrintForeign(config, path);
  if (state == LogState::kOff && !MakeLog(path)) {
    return PrintSystemError(config, "make", path);
  }
  if (access(path.c_str(), W_OK) != 0) {
    return PrintSystemError(config, "write", path);
  }
  return PrintState(config, true, state == LogState::kOff, path);
}

int RunLogOff(const Config& config) {
  const std::string path = DayLogPath();
  const LogState state = StateOf(path);
  if (state == LogState::kForeign) return PrintForeign(config, path);
  if (state == LogState::kOn && unlink(path.c_str()) != 0) {
    return PrintSystemError(config, "remove", path);
  }
  return PrintState(config, false, state == LogState::kOn, path);
}

int RunLogFollow(const Config& config) {
  LogFollower follower(config.from_start);
  if (StateOf(DayLogPath()) == LogState::kForeign) {
    return PrintForeign(config, DayLogPath());
  }
  bool was_open = true;
  while (true) {
    for (const std::string& line : follower.Poll()) {
      const int exit_code = PrintFollowed(config, line);
      if (exit_code != kExitOk) return exit_code;
    }
    const bool is_open = !follower.OpenPath().empty();
    if (was_open && !is_open) Say("the log is off; waiting for: mvfp log on");
    was_open = is_open;
    poll(nullptr, 0, kPollMs);
  }
}

}  // namespace corvex::mvfp
