// doctor: looks at the machine, says what is wrong and which command mends it.
#include <algorithm>
#include <string>
#include <vector>

#include "commands.h"
#include "doctor/checks.h"
#include "port.h"
#include "report.h"

namespace corvex::mvfp {
namespace {

using doctor::Box;
using doctor::Finding;
using doctor::Findings;
using doctor::Level;

// What was found out about one port, or about the machine when it has no name.
struct Part {
  std::string port;
  Findings findings;
};

const char* NameOf(Level level) {
  if (level == Level::kOk) return "ok";
  return level == Level::kNote ? "note" : "problem";
}

bool HasProblem(const Part& part) {
  return std::any_of(
      part.findings.begin(), part.findings.end(),
      [](const Finding& finding) { return finding.level == Level::kProblem; });
}

Part CheckMachine(const Box& box) {
  Part part;
  doctor::CheckDriver(box, &part.findings);
  doctor::CheckLock(box, &part.findings);
  doctor::CheckLog(box, &part.findings);
  doctor::CheckWindow(box, &part.findings);
  doctor::CheckBraille(box, &part.findings);
  return part;
}

Part CheckOnePort(const Box& box, const std::string& port) {
  Part part{port, {}};
  if (doctor::CheckPort(box, port, &part.findings)) {
    doctor::CheckNeighbours(box, port, &part.findings);
    doctor::CheckComLink(box, port, &part.findings);
  }
  return part;
}

Part NoPort() {
  return {"",
          {{Level::kProblem, "port", KnownPorts(), "sudo dmesg | grep tty"}}};
}

// A call can work when nothing is wrong with the machine, and with one port.
bool CanCall(const std::vector<Part>& parts) {
  const auto has_port = [](const Part& part) {
    return !part.port.empty() && !HasProblem(part);
  };
  const auto spoils_all = [](const Part& part) {
    return part.port.empty() && HasProblem(part);
  };
  return std::any_of(parts.begin(), parts.end(), has_port) &&
         std::none_of(parts.begin(), parts.end(), spoils_all);
}

std::string Padded(std::string text, size_t columns) {
  text.resize(std::max(columns, text.size()), ' ');
  return text + " ";
}

std::string Lines(const Finding& finding) {
  std::string lines = Padded(NameOf(finding.level), 7) +
                      Padded(finding.check, 7) + Printable(finding.text) + "\n";
  if (!finding.command.empty()) {
    lines += Padded("", 15) + "$ " + Printable(finding.command) + "\n";
  }
  return lines;
}

Json AsJson(const std::string& port, const Finding& finding) {
  return {{"level", NameOf(finding.level)},
          {"check", finding.check},
          {"port", port},
          {"text", finding.text},
          {"command", finding.command}};
}

int Print(const Config& config, const std::vector<Part>& parts) {
  std::string text;
  Json findings = Json::array();
  for (const Part& part : parts) {
    for (const Finding& finding : part.findings) {
      text += Lines(finding);
      findings.push_back(AsJson(part.port, finding));
    }
  }
  const bool can_call = CanCall(parts);
  text += can_call ? "A call can work.\n" : "No call can work.\n";
  return PrintResult(config, {{"can_call", can_call}, {"findings", findings}},
                     text, can_call ? kExitOk : kExitNo);
}

int PrintBadPort(const Config& config) {
  return PrintUsage(config, "\"" + config.port + "\" is no name below /dev",
                    KnownPorts());
}

}  // namespace

int RunDoctor(const Config& config) {
  const std::string named = PortName(config.port);
  if (named.empty() && !config.port.empty()) return PrintBadPort(config);
  const Box box = doctor::LookAround();
  std::vector<Part> parts = {CheckMachine(box)};
  const std::vector<std::string> ports =
      named.empty() ? doctor::LikelyPorts() : std::vector<std::string>{named};
  for (const std::string& port : ports) {
    parts.push_back(CheckOnePort(box, port));
  }
  if (ports.empty()) parts.push_back(NoPort());
  return Print(config, parts);
}

}  // namespace corvex::mvfp
