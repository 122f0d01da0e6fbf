// doctor: takes the steps of a call, says what happened and what mends it.
#include <cerrno>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>

#include "calls/queries.h"
#include "calls/result_codes.h"
#include "commands/commands.h"
#include "cx_file_lock/cx_file_lock.h"
#include "doctor/checks.h"
#include "machine/call_lock.h"
#include "ports/port.h"
#include "ports/port_use.h"

namespace corvex::mvfp {
namespace {

using doctor::Finding;

constexpr Help kHelp = {
    "doctor", "Find out what keeps calls from working",
    R"(Takes the steps of a call: loads the driver, takes the lock, opens the port and
gives it the driver's settings, then gives all back; with --ask it also asks the
reader for its version. Without --port it does so with every port that may have
a reader and that nobody else has. Each line says what happened: ok, a note
(calls work, with less comfort), busy (a call runs, so nothing was tried) or a
problem; below it stands the command that mends it or tells more. Exit 0 says
that all steps to the end were taken with a port, and that window, library and
service, where asked for, are ok; otherwise 1. Only root sees what other users'
processes do.

Examples:
  mvfp doctor --port ttyUSB0
  mvfp doctor --port ttyUSB0 --ask
  mvfp doctor --window --library --web
  sudo mvfp doctor --json
)"};

struct Options : DeviceOptions {
  bool ask = false;
  bool window = false;
  bool library = false;
  bool web = false;
};

std::string Lines(const Finding& finding) {
  std::ostringstream lines;
  lines << std::left << std::setw(8) << finding.level << std::setw(8)
        << finding.check << finding.text << "\n";
  if (!finding.command.empty()) {
    lines << std::string(16, ' ') << "$ " << finding.command << "\n";
  }
  return Printable(lines.str());
}

// All that was found, as it is printed.
class Findings {
 public:
  // Returns whether the call may go on.
  bool Add(const Finding& finding, const std::string& port = "") {
    text_ += Lines(finding);
    array_.push_back({{"level", finding.level},
                      {"check", finding.check},
                      {"port", port},
                      {"text", finding.text},
                      {"command", finding.command}});
    is_busy_ = is_busy_ || finding.level == doctor::kBusy;
    return finding.level != doctor::kProblem && finding.level != doctor::kBusy;
  }
  // A step beside the call's own, which somebody asked for.
  void AddExtra(const Finding& finding) {
    Add(finding);
    extras_are_ok_ = extras_are_ok_ && finding.level == doctor::kOk;
  }
  bool IsBusy() const { return is_busy_; }
  bool ExtrasAreOk() const { return extras_are_ok_; }
  const std::string& Text() const { return text_; }
  const Json& Array() const { return array_; }

 private:
  std::string text_;
  Json array_ = Json::array();
  bool is_busy_ = false;
  bool extras_are_ok_ = true;
};

// The lock of the calls, for as long as this lives.
class LockStep {
 public:
  explicit LockStep(Findings* findings) : lock_(cx_file_lock()) {
    const int error = errno;
    findings->Add(lock_ >= 0 ? Finding{doctor::kOk, "lock", "taken", ""}
                             : Told(error));
  }
  ~LockStep() { cx_file_unlock(lock_); }
  LockStep(const LockStep&) = delete;
  LockStep& operator=(const LockStep&) = delete;

  bool IsTaken() const { return lock_ >= 0; }

 private:
  static Finding Told(int error) {
    const LockTrouble trouble = ExplainLock(error);
    return {trouble.is_held ? doctor::kBusy : doctor::kProblem, "lock",
            trouble.text + ": calls give -14", trouble.command};
  }

  const int32_t lock_;
};

Finding OpenAndSet(const std::string& port, const PortUse& use) {
  // On a line that others use it would do harm.
  if (!use.kind.empty()) {
    return {doctor::kProblem, "port", use.text + ": not tried", ""};
  }
  const PortTrial trial = TryPort(port);
  return trial.is_usable
             ? Finding{doctor::kOk, "port", use.text + ", opened and set", ""}
             : Finding{doctor::kProblem, "port", trial.trouble, trial.command};
}

bool TakePortStep(const std::string& port, Findings* findings) {
  const PortUse use = UseOf(port, OtherProcesses());
  if (!use.prober.empty()) {
    findings->Add(
        {doctor::kNote, "modem",
         use.prober + " may ask " + port + " for a modem when it is plugged in",
         BindCommand(port)},
        port);
  }
  return findings->Add(OpenAndSet(port, use), port);
}

Finding Ask(const std::string& port, DeviceOptions options) {
  options.port = port;
  const Reply reply = AskForText(kVersionQuery, options);
  if (reply.rc == FG_OK) {
    return {doctor::kOk, "reader",
            std::string(reply.text) + " on " + port + "; the call took " +
                std::to_string(reply.elapsed_ms) + " ms",
            ""};
  }
  const Failure failure = CallFailure(kVersionQuery, reply, options);
  return {WasRefused(reply) ? doctor::kBusy : doctor::kProblem, "reader",
          port + ": " + failure.what + "; " + failure.next, ""};
}

std::vector<std::string> PortsFor(const Options& options, Findings* findings) {
  auto ports =
      options.port.empty() ? LikelyPorts() : std::vector{PortOf(options)};
  if (ports.empty()) {
    findings->Add(
        {doctor::kProblem, "port", KnownPorts(), AsRoot("dmesg | grep tty")});
  }
  return ports;
}

// Whether they could all be taken, with one port at least.
bool TakeSteps(const Options& options, Findings* findings) {
  const bool loads = findings->Add(doctor::TryDriver());
  if (options.library) findings->AddExtra(doctor::TryLibrary());
  if (options.web) {
    for (const Finding& finding : doctor::TryWeb()) findings->AddExtra(finding);
  }
  std::vector<std::string> usable;
  {
    const LockStep lock(findings);
    if (!lock.IsTaken()) return false;
    if (options.window) findings->AddExtra(doctor::TryWindow());
    for (const std::string& port : PortsFor(options, findings)) {
      if (TakePortStep(port, findings)) usable.push_back(port);
    }
  }
  if (!loads || usable.empty()) return false;
  if (!options.ask) return true;
  bool answers = false;
  for (const std::string& port : usable) {
    answers |= findings->Add(Ask(port, options), port);
  }
  return answers;
}

std::string Conclusion(bool works, const Options& options,
                       const Findings& findings) {
  if (works && options.ask) return "A call works.\n";
  if (works) {
    return "A call gets as far as the line; whether a reader answers there: "
           "--ask\n";
  }
  return findings.IsBusy()
             ? "Not tried further while the lock is held; to wait "
               "for its end: --wait 60\n"
             : "No call works.\n";
}

int Doctor(const Report& report, const Options& options) {
  Findings findings;
  AwaitReader(options.wait_s);
  const bool works = TakeSteps(options, &findings);
  return report.Result({{"can_call", works},
                        {"asked", options.ask},
                        {"findings", findings.Array()}},
                       findings.Text() + Conclusion(works, options, findings),
                       works && findings.ExtrasAreOk() ? kExitOk : kExitNo);
}

}  // namespace

void AddDoctor(CommandLine* line) {
  const auto [arguments, options] = line->Add(kHelp, Doctor);
  AddDeviceOptions(arguments, options);
  arguments.Flag("--ask", &options->ask, "Ask the reader for its version");
  arguments.Flag("--window", &options->window,
                 "Show the window of guided enrolment for a moment");
  arguments.Flag("--library", &options->library,
                 "Compare with the algorithm library");
  arguments.Flag("--web", &options->web,
                 "Knock at the web service as a browser does");
}

}  // namespace corvex::mvfp
