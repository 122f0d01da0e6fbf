// bind: a lasting name, /dev/COM<n>, for the port of a reader.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "calls/device_call.h"
#include "commands/commands.h"
#include "files.h"
#include "patterns.h"
#include "ports/adapter.h"
#include "ports/port.h"

namespace corvex::mvfp {
namespace {

constexpr Help kHelp = {
    "bind", "Give a reader's port the lasting name /dev/COM<n>",
    R"(The JSON entry asks for ports by number: 3 is /dev/COM3. A udev rule makes that
name for the adapter that is at the port now, and keeps modem probers away from
it. It knows the adapter by its serial number, in whichever socket; or, when
there is none, by the socket. Cheap adapters may all bear the same serial
number: use --by-socket where there are two of a kind. Writing and removing
need root.

Examples:
  mvfp bind 3 --port ttyUSB0 --print
  sudo mvfp bind 3 --port ttyUSB0
  mvfp bind --list
  sudo mvfp bind 3 --remove
)"};

// The JSON entry knows ports by number; this many have a name here.
constexpr int kHighestCom = 255;

struct Options : DeviceOptions {
  int number = -1;
  bool by_socket = false;
  bool print = false;
  bool remove = false;
  bool list = false;
};

namespace fs = std::filesystem;

// As the rules of the package have it, for where these are not installed.
constexpr char kRights[] = R"(GROUP="dialout", MODE="0660", TAG+="uaccess", )"
                           R"(ENV{ID_MM_PORT_IGNORE}="1", )"
                           R"(ENV{ID_MM_DEVICE_IGNORE}="1")";

std::string Is(const char* key, const std::string& value) {
  return std::string(key) + "==\"" + value + "\"";
}

// The numbers of the buses depend on the order in which they were found.
std::string SocketMatch(const fs::path& interface) {
  constexpr char kBus[] = "/(usb)?[0-9]+(?=/|-[0-9.]+[/:])";
  const std::string path = interface.string().substr(sizeof "/sys" - 1);
  return Is("DEVPATH", ReplacePattern(path + "/", kBus, "/$1*") + "*");
}

// What tells an adapter from all others, as the matches of a udev rule. By its
// makers' numbers and its serial number, so that it may move to another socket;
// or, lacking a serial number or when asked to, by its socket; a port of the
// board itself by its name. "" when the port is no serial port of this machine.
std::string AdapterMatch(const std::string& port, bool by_socket) {
  const fs::path tty = DeviceOf(port);
  if (tty.empty()) return "";
  const fs::path usb = Above(tty, "idVendor");
  if (usb.empty()) return Is("KERNEL", tty.filename().string());
  const fs::path interface = Above(tty, "bInterfaceNumber");
  const std::string serial = Attribute(usb, "serial");
  // A rule would take other signs for a pattern or for the end of a text.
  const bool is_plain = HasPattern(serial, "^[A-Za-z0-9 ._:-]+$");
  if (by_socket || !is_plain) return SocketMatch(interface);
  return Is("ATTRS{idVendor}", Attribute(usb, "idVendor")) + ", " +
         Is("ATTRS{idProduct}", Attribute(usb, "idProduct")) + ", " +
         Is("ATTRS{serial}", serial) + ", " +
         Is("ENV{ID_USB_INTERFACE_NUM}",
            Attribute(interface, "bInterfaceNumber"));
}

std::string RulesFile(int number, const std::string& match) {
  const std::string com = std::to_string(number);
  return "# A lasting name for a fingerprint reader's port. Made by mvfp bind; "
         "to take it\n# away: mvfp bind " +
         com + " --remove\n" + "SUBSYSTEM==\"tty\", " + match +
         ", SYMLINK+=\"COM" + com + "\", " + kRights + "\n";
}

std::string RulesPath(int number) {
  return "/etc/udev/rules.d/71-mv-fpi-com" + std::to_string(number) + ".rules";
}

// The match in a rules file; "" when it has none.
std::string MatchIn(const std::string& rules) {
  const auto found =
      FindPattern(rules, R"(SUBSYSTEM=="tty", (.*), SYMLINK\+="COM)");
  return found.empty() ? "" : found[1];
}

Failure CannotChange(const std::string& verb, const std::string& path,
                     const Options& options) {
  std::string next;
  if (errno == EACCES || errno == EPERM) {
    next = "only root may: sudo mvfp bind " + std::to_string(options.number) +
           (options.remove ? " --remove" : " --port " + options.port);
  }
  if (errno == ENOENT) next = "udev is not installed";
  return SystemFailure(verb, path, next);
}

// The rules are on disk whatever becomes of this: they hold from the next
// start, or the next time that the adapter is plugged in.
void TellUdev() {
  constexpr char kTakeChange[] =
      "udevadm control --reload && udevadm trigger --subsystem-match=tty && "
      "udevadm settle --timeout=5";
  if (system(kTakeChange) != 0) {
    Say("udev did not take the change; plug the adapter in anew");
  }
}

// Under a name that udev does not read, then whole under its own.
bool WriteRules(const std::string& path, const std::string& rules) {
  const std::string draft = path + ".new";
  return WriteText(draft, rules, 0644) &&
         rename(draft.c_str(), path.c_str()) == 0;
}

std::string LinkOf(int number) { return "/dev/COM" + std::to_string(number); }

int Remove(const Report& report, const Options& options) {
  const std::string path = RulesPath(options.number);
  const bool removed = unlink(path.c_str()) == 0;
  if (!removed && errno != ENOENT) throw CannotChange("remove", path, options);
  if (removed) TellUdev();
  return report.Result(
      {{"bound", false}, {"changed", removed}, {"rules", path}},
      LinkOf(options.number) +
          (removed ? " is not bound any more\n" : " was not bound\n"));
}

int Add(const Report& report, const Options& options) {
  const std::string port = PortOf(options);
  const std::string match = AdapterMatch(port, options.by_socket);
  if (match.empty()) {
    throw UsageFailure(port + " is no serial port of this machine",
                       KnownPorts());
  }
  const std::string path = RulesPath(options.number);
  const std::string link = LinkOf(options.number);
  const std::string rules = RulesFile(options.number, match);
  const Json fields = {{"bound", !options.print},
                       {"link", link},
                       {"match", match},
                       {"rules", path}};
  if (options.print) return report.Result(fields, rules);
  if (!WriteRules(path, rules)) throw CannotChange("write", path, options);
  TellUdev();
  return report.Result(fields, link + " is bound to " + match + "\n");
}

int List(const Report& report) {
  Json bindings = Json::array();
  std::string text;
  for (int number = 0; number <= kHighestCom; ++number) {
    const std::string path = RulesPath(number);
    if (!fs::exists(path)) continue;
    const std::string match = MatchIn(ReadText(path));
    const std::string link = LinkOf(number);
    std::error_code not_plugged_in;
    const std::string target = fs::canonical(link, not_plugged_in);
    bindings.push_back({{"link", link}, {"target", target}, {"match", match}});
    text.append(link + " -> ")
        .append(target.empty() ? "(not plugged in)" : target)
        .append("  " + match + "\n");
  }
  return report.Result({{"bindings", bindings}}, text);
}

int Bind(const Report& report, const Options& options) {
  if (options.list) return List(report);
  if (options.number >= 0) {
    return options.remove ? Remove(report, options) : Add(report, options);
  }
  throw UsageFailure("no COM number given", "see: mvfp bind --help");
}

}  // namespace

void AddBind(CommandLine* line) {
  const auto [arguments, options] = line->Add(kHelp, Bind);
  AddPortOption(arguments, &options->port);
  const Argument number = arguments.Number("NUMBER", &options->number, 0,
                                           kHighestCom, "The n of /dev/COM<n>");
  arguments.Flag("--by-socket", &options->by_socket,
                 "Know the adapter by its USB socket");
  const Argument print = arguments.Flag("--print", &options->print,
                                        "Print the rule, change nothing");
  arguments.Flag("--remove", &options->remove, "Take the name away")
      .Excludes(print);
  arguments.Flag("--list", &options->list, "Print the names that were given")
      .Excludes(number);
}

}  // namespace corvex::mvfp
