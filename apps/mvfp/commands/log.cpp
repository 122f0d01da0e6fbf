// log on, log off, log follow: the driver's diagnostic log of the day.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>

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
constexpr Help kOff = {
    "off", "Put today's log aside",
    R"(What the log holds is kept beside it under another name, which is printed; an
empty log is removed.

Examples:
  mvfp log off
  mvfp log off --delete
)"};
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

struct OffOptions {
  bool keep = false;
  bool remove = false;
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

Failure CannotDo(const std::string& verb, const std::string& path) {
  return SystemFailure(verb, path, "see whose it is: ls -l " + path);
}

int PrintState(const Report& report, bool on, bool changed,
               const std::string& path, const std::string& kept = "") {
  std::string text = std::string("log ") + (changed ? "" : "already ") +
                     (on ? "on: " : "off: ") + path;
  if (!kept.empty()) text += "; what it held: " + kept;
  return report.Result(
      {{"on", on}, {"changed", changed}, {"path", path}, {"kept", kept}},
      text + "\n");
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
  if (!was_on && !MakeLog(path)) {
    throw SystemFailure("make", path, "see what /tmp is: findmnt -T /tmp");
  }
  if (access(path.c_str(), W_OK) != 0) throw CannotDo("write", path);
  return PrintState(report, true, !was_on, path);
}

// Under the first name that is free. Returns it.
std::string PutAside(const std::string& path) {
  int number = 1;
  const auto name = [&] { return path + "." + std::to_string(number); };
  while (std::filesystem::symlink_status(name()).type() !=
         std::filesystem::file_type::not_found) {
    ++number;
  }
  if (rename(path.c_str(), name().c_str()) != 0) throw CannotDo("move", path);
  return name();
}

int Off(const Report& report, const OffOptions& options) {
  const std::string path = DayLogPath();
  if (!IsOn(path)) return PrintState(report, false, false, path);
  std::error_code unknown;
  if (!options.remove && std::filesystem::file_size(path, unknown) != 0) {
    return PrintState(report, false, true, path, PutAside(path));
  }
  if (unlink(path.c_str()) != 0) throw CannotDo("remove", path);
  return PrintState(report, false, true, path);
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
    if (follower.OpenError() != 0) {
      errno = follower.OpenError();
      throw CannotDo("read", DayLogPath());
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
  const auto off = line->Add(kOff, Off, log);
  const Argument keep = off.arguments.Flag("--keep", &off.options->keep,
                                           "Keep what it holds (done anyway)");
  off.arguments.Flag("--delete", &off.options->remove, "Do not keep it")
      .Excludes(keep);
  const auto [arguments, options] = line->Add(kFollow, Follow, log);
  arguments.Flag("--from-start", &options->from_start,
                 "Begin with what today's log already holds");
}

}  // namespace corvex::mvfp
