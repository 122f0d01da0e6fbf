// bind: a lasting name, /dev/COM<n>, for the port of a reader.
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "commands.h"
#include "port.h"
#include "report.h"
#include "udev_rule.h"

namespace corvex::mvfp {
namespace {

int PrintSystemError(const Config& config, const std::string& verb,
                     const std::string& path) {
  const int error = errno;
  Failure failure;
  failure.what = "cannot " + verb + " " + path + ": " + strerror(error);
  if (error == EACCES || error == EPERM) {
    failure.next = "only root may: sudo mvfp bind " +
                   std::to_string(config.number) +
                   (config.remove ? " --remove" : " --port " + config.port);
  }
  if (error == ENOENT) failure.next = "udev is not installed";
  return PrintFailure(config, failure);
}

bool Succeeds(std::vector<const char*> command) {
  command.push_back(nullptr);
  pid_t child = 0;
  int status = 0;
  return posix_spawnp(&child, command[0], nullptr, nullptr,
                      const_cast<char**>(command.data()), environ) == 0 &&
         waitpid(child, &status, 0) == child && status == 0;
}

// The rules are on disk whatever becomes of this: they hold from the next
// start, or the next time that the adapter is plugged in.
void TellUdev() {
  if (!Succeeds({"udevadm", "control", "--reload"}) ||
      !Succeeds({"udevadm", "trigger", "--subsystem-match=tty"}) ||
      !Succeeds({"udevadm", "settle", "--timeout=5"})) {
    Say("udev did not take the change; plug the adapter in anew");
  }
}

// Under a name that udev does not read, then whole under its own.
bool WriteRules(const std::string& path, const std::string& rules) {
  const std::string draft = path + ".new";
  const int file = open(draft.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC,
                        S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
  if (file < 0) return false;
  const ssize_t count = write(file, rules.data(), rules.size());
  const bool written = count == static_cast<ssize_t>(rules.size());
  return close(file) == 0 && written &&
         rename(draft.c_str(), path.c_str()) == 0;
}

std::string LinkOf(int number) { return "/dev/COM" + std::to_string(number); }

// Where the link leads now; "" when the adapter is not plugged in.
std::string TargetOf(int number) {
  std::error_code error;
  return std::filesystem::canonical(LinkOf(number), error).string();
}

int Remove(const Config& config) {
  const std::string path = RulesPath(config.number);
  const bool removed = unlink(path.c_str()) == 0;
  if (!removed && errno != ENOENT) {
    return PrintSystemError(config, "remove", path);
  }
  if (removed) TellUdev();
  return PrintResult(config,
                     {{"bound", false}, {"changed", removed}, {"rules", path}},
                     LinkOf(config.number) + (removed ? " is" : " was") +
                         " not bound" + (removed ? " any more" : "") + "\n");
}

int Bind(const Config& config) {
  const std::string port = PortName(config.port);
  if (port.empty()) {
    return PrintUsage(config, "no port given", "use --port; " + KnownPorts());
  }
  const std::string match = AdapterMatch(port, config.by_socket);
  if (match.empty()) {
    return PrintUsage(config, port + " is no serial port of this machine",
                      KnownPorts());
  }
  const std::string path = RulesPath(config.number);
  const std::string rules = RulesFile(config.number, match);
  const Json fields = {{"bound", !config.print},
                       {"link", LinkOf(config.number)},
                       {"match", match},
                       {"rules", path}};
  if (config.print) return PrintResult(config, fields, rules);
  if (!WriteRules(path, rules)) return PrintSystemError(config, "write", path);
  TellUdev();
  return PrintResult(config, fields,
                     LinkOf(config.number) + " is bound to " + match + "\n");
}

int List(const Config& config) {
  Json bindings = Json::array();
  std::string text;
  for (int number = 0; number <= kHighestCom; ++number) {
    std::ifstream file(RulesPath(number));
    if (!file) continue;
    std::ostringstream rules;
    rules << file.rdbuf();
    const std::string match = MatchIn(rules.str());
    const std::string target = TargetOf(number);
    bindings.push_back(
        {{"link", LinkOf(number)}, {"target", target}, {"match", match}});
    text += LinkOf(number) + " -> " +
            (target.empty() ? "(not plugged in)" : target) + "  " + match +
            "\n";
  }
  return PrintResult(config, {{"bindings", bindings}}, text);
}

}  // namespace

int RunBind(const Config& config) {
  if (config.list) return List(config);
  if (config.number < 0) {
    return PrintUsage(config, "no COM number given", "see: mvfp bind --help");
  }
  return config.remove ? Remove(config) : Bind(config);
}

}  // namespace corvex::mvfp
