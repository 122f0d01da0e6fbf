// doctor: looks at the machine, says what is wrong and which command mends it.
#include <iomanip>
#include <sstream>

#include "calls/device_call.h"
#include "commands/commands.h"
#include "doctor/checks.h"
#include "ports/port.h"

namespace corvex::mvfp {
namespace {

using doctor::Box;
using doctor::Finding;
using doctor::Findings;

constexpr Help kHelp = {
    "doctor", "Find out what keeps calls from working",
    R"(Looks at the driver and what it needs, the lock, the log, and the port; without
--port at every port that may have a reader. Each line is ok, a note (calls work,
with less comfort) or a problem (calls fail); below it stands the one command
that mends it. The lock is taken for a moment, as a call does; nothing is changed,
and no reader is asked. Exit 0 says that a call can work, 1 that none can. Only
root sees what other users' processes do.

Examples:
  mvfp doctor
  mvfp doctor --port ttyUSB0
  sudo mvfp doctor --port ttyUSB0 --json
)"};

Findings CheckMachine(const Box& box) {
  Findings findings;
  doctor::CheckDriver(box, &findings);
  findings.push_back(doctor::CheckLock(box));
  findings.push_back(doctor::CheckLog());
  doctor::CheckWindow(box, &findings);
  doctor::CheckBraille(box, &findings);
  return findings;
}

std::string Lines(const Finding& finding) {
  std::ostringstream lines;
  lines << std::left << std::setw(8) << finding.level << std::setw(8)
        << finding.check << finding.text << "\n";
  if (!finding.command.empty()) {
    lines << std::string(16, ' ') << "$ " << finding.command << "\n";
  }
  return Printable(lines.str());
}

// A call can work when nothing is wrong with the machine, and with one port.
int Doctor(const Report& report, const DeviceOptions& options) {
  const auto ports =
      options.port.empty() ? LikelyPorts() : std::vector{PortOf(options)};
  const Box box = doctor::LookAround();
  std::string text;
  Json array = Json::array();
  const auto add = [&](const std::string& port, const Findings& findings) {
    bool works = true;
    for (const Finding& finding : findings) {
      works = works && finding.level != doctor::kProblem;
      text += Lines(finding);
      array.push_back({{"level", finding.level},
                       {"check", finding.check},
                       {"port", port},
                       {"text", finding.text},
                       {"command", finding.command}});
    }
    return works;
  };
  const bool machine_works = add("", CheckMachine(box));
  bool port_works = false;
  for (const std::string& port : ports) {
    port_works |= add(port, doctor::CheckPort(box, port));
  }
  if (ports.empty()) {
    add("",
        {{doctor::kProblem, "port", KnownPorts(), "sudo dmesg | grep tty"}});
  }
  const bool can_call = machine_works && port_works;
  text += can_call ? "A call can work.\n" : "No call can work.\n";
  return report.Result({{"can_call", can_call}, {"findings", array}}, text,
                       can_call ? kExitOk : kExitNo);
}

}  // namespace

void AddDoctor(CommandLine* line) {
  const auto [app, options] = line->Add(kHelp, Doctor);
  AddPortOption(app, &options->port);
}

}  // namespace corvex::mvfp
