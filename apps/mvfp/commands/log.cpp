// log on, log off, log follow: the driver's diagnostic log of the day.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "calls/day_log.h"
#include "commands/commands.h"

namespace corvex::mvfp {
namespace {

constexpr Help kHelp = {
    "log", "Switch or read the driver's log of the day",
    R"(While /tmp/fplog_YYYYMMDD.log exists, every call of every program on this
machine writes to it. A log is for one day only.

Examples:
  mvfp log on
  mvfp log follow --from-start
  mvfp log off
)"};
constexpr Help kOn = {"on", "Create today's log, for all users",
                      "Example:\n  mvfp log on\n"};
constexpr Help kOff = {"off", "Remove today's log and what it holds",
                       "Example:\n  mvfp log off\n"};
constexpr Help kFollow = {"follow",
                          "Print what is added to the log, past midnight too",
                          R"(With --json, one object a line.

Examples:
  mvfp log follow
  mvfp log follow --from-start
)"};

struct FollowOptions {
  bool from_start = false;
};

constexpr int kPollMs = 200;

// Is the log of that path on? Throws a Failure where something else stands.
bool IsOn(const std::string& path) {
  const auto type = std::filesystem::symlink_status(path).type();
  if (type == std::filesystem::file_type::not_found) return false;
  if (type == std::filesystem::file_type::regular) return true;
  throw Failure{path + " is no regular file; leaving it alone",
                "see who made it: ls -l " + path};
}

Failure CannotChange(const std::string& verb, const std::string& path) {
  return SystemFailure(verb, path, "see whose it is: ls -l " + path);
}

int PrintState(const Report& report, bool on, bool changed,
               const std::string& path) {
  const std::string text = std::string("log ") + (changed ? "" : "already ") +
                           (on ? "on: " : "off: ") + path + "\n";
  return report.Result({{"on", on}, {"changed", changed}, {"path", path}},
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

int On(const Report& report, const NoOptions& /*options*/) {
  const std::string path = DayLogPath();
  const bool was_on = IsOn(path);
  if (!was_on && !MakeLog(path)) throw CannotChange("make", path);
  if (access(path.c_str(), W_OK) != 0) throw CannotChange("write", path);
  return PrintState(report, true, !was_on, path);
}

int Off(const Report& report, const NoOptions& /*options*/) {
  const std::string path = DayLogPath();
  const bool was_on = IsOn(path);
  if (was_on && unlink(path.c_str()) != 0) throw CannotChange("remove", path);
  return PrintState(report, false, was_on, path);
}

int Follow(const Report& report, const FollowOptions& options) {
  LogFollower follower(options.from_start);
  IsOn(DayLogPath());
  bool was_open = true;
  while (true) {
    for (const std::string& line : follower.Poll()) {
      const int exit_code =
          report.Result({{"line", line}}, Printable(line) + "\n");
      if (exit_code != kExitOk) return exit_code;
    }
    const bool is_open = !follower.OpenPath().empty();
    if (was_open && !is_open) Say("the log is off; waiting for: mvfp log on");
    was_open = is_open;
    poll(nullptr, 0, kPollMs);
  }
}

}  // namespace

void AddLog(CommandLine* line) {
  CLI::App* const log = line->AddGroup(kHelp);
  line->Add(kOn, On, log);
  line->Add(kOff, Off, log);
  const auto [app, options] = line->Add(kFollow, Follow, log);
  app->add_flag("--from-start", options->from_start,
                "Begin with what today's log already holds");
}

}  // namespace corvex::mvfp
