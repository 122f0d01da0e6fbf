// ports and scan: where a reader may be, and where one is.
#include <nlohmann/json.hpp>

#include "calls/queries.h"
#include "calls/result_codes.h"
#include "calls/wait_line.h"
#include "commands/commands.h"
#include "ports/adapter.h"
#include "ports/port.h"
#include "ports/port_use.h"

namespace corvex::mvfp {
namespace {

constexpr Help kPorts = {
    "ports", "List the ports that may have a reader",
    R"(Shows the serial adapters and the board's own ports: who is on each (a console,
a log-in, a modem, another program), its lasting names, and the hardware. A
lasting name outlives replugging and is taken by --port as well. Opens no port.
Only root sees what other users' processes have open.

Examples:
  mvfp ports
  sudo mvfp ports --json
)"};

constexpr Help kScan = {
    "scan", "Find the ports where a reader answers",
    R"(Asks each port of mvfp ports for a reader's version, and prints those that
answer. A port that a console, a log-in, a modem or another program has is left
alone; the others get their settings back. Exit 1 says that none answered.

Examples:
  mvfp scan
  mvfp scan --box A --json
)"};

struct ScanOptions : DeviceOptions {
  ScanOptions() { limit_s = 3; }
};

std::vector<std::string> NamesOf(const std::string& port) {
  std::vector<std::string> names;
  for (const char* pattern :
       {"serial/by-id/*", "serial/by-path/*", "COM*", "serial[0-9]*"}) {
    for (const std::string& name : PortsLike(pattern)) {
      if (name != port && IsSamePort(name, port)) names.push_back(name);
    }
  }
  return names;
}

std::string Row(const char* label, const std::string& text) {
  return text.empty() ? "" : std::string("  ") + label + text + "\n";
}

int Ports(const Report& report, const NoOptions& /*options*/) {
  const Processes processes = OtherProcesses();
  Json array = Json::array();
  std::string text;
  for (const std::string& port : LikelyPorts()) {
    const PortUse use = UseOf(port, processes);
    const std::vector<std::string> names = NamesOf(port);
    const std::string adapter = DescribeAdapter(port);
    text += use.text + "\n";
    for (const std::string& name : names) text += Row("name     ", name);
    text += Row("adapter  ", adapter);
    if (!use.prober.empty()) {
      text += Row("note     ", use.prober +
                                   " may ask it for a modem when it is plugged "
                                   "in; to keep it off: " +
                                   BindCommand(port));
    }
    array.push_back({{"port", port},
                     {"free", use.kind.empty()},
                     {"use", use.kind},
                     {"text", use.text},
                     {"names", names},
                     {"adapter", adapter},
                     {"prober", use.prober}});
  }
  if (array.empty()) Say(KnownPorts());
  return report.Result({{"ports", array}}, Printable(text));
}

struct Answer {
  std::string version;  // "" when there was none
  std::string why;
};

// One port, which must not end the search.
Answer AskPort(const std::string& port, const PortUse& use,
               DeviceOptions options) {
  if (!use.kind.empty()) return {"", use.text};
  WaitLine line;
  line.Show("asking " + port);
  try {
    options.port = port;
    const Reply reply = AskForText(kVersionQuery, options, ShowNothing);
    if (reply.rc == FG_OK) return {reply.text, ""};
    return {"", CallFailure(kVersionQuery, reply, options).what};
  } catch (const Failure& failure) {
    if (failure.signal != 0) throw;
    return {"", failure.what};
  }
}

int Scan(const Report& report, const ScanOptions& options) {
  const Processes processes = OtherProcesses();
  Json readers = Json::array();
  Json others = Json::array();
  std::string text;
  for (const std::string& port : LikelyPorts()) {
    const Answer answer = AskPort(port, UseOf(port, processes), options);
    if (answer.version.empty()) {
      Say("no reader on " + port + ": " + answer.why);
      others.push_back({{"port", port}, {"why", answer.why}});
      continue;
    }
    const std::vector<std::string> names = NamesOf(port);
    text += port + "  " + answer.version;
    if (!names.empty()) text += "  " + names.front();
    text += "\n";
    readers.push_back(
        {{"port", port}, {"names", names}, {"version", answer.version}});
  }
  if (readers.empty() && others.empty()) Say(KnownPorts());
  return report.Result({{"readers", readers}, {"others", others}},
                       Printable(text), readers.empty() ? kExitNo : kExitOk);
}

}  // namespace

void AddPortsAndScan(CommandLine* line) {
  line->Add(kPorts, Ports);
  const auto [arguments, options] = line->Add(kScan, Scan);
  AddBoxOption(arguments, &options->box);
  AddWaitOption(arguments, &options->wait_s);
  constexpr int kLongest = 60;
  arguments
      .Number("-t,--timeout", &options->limit_s, 1, kLongest,
              "How long to wait for an answer on each port [3]")
      .Named("SECONDS");
}

}  // namespace corvex::mvfp
