// How every command ends: one result on standard output (a text, or with
// --json one object), everything else on standard error behind the program's
// name, and a coarse exit code.
#ifndef APPS_MVFP_REPORT_H_
#define APPS_MVFP_REPORT_H_

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <utility>

namespace corvex::mvfp {

// Who makes some includes <nlohmann/json.hpp>, which takes the compiler long.
using Json = nlohmann::ordered_json;

enum ExitCode {      // scripts test these: add, never renumber
  kExitOk = 0,       // done; for match: the records match
  kExitNo = 1,       // a valid no: no match, no finger, a malformed record
  kExitUsage = 2,    // bad option, argument or file; no reader was touched
  kExitNoPress = 3,  // the presses did not come in time, or gave nothing
  kExitFailed = 4,   // anything else; standard error carries the driver's code
  kExitCancelled = 5,  // the user closed the prompt window
};

// Thrown by whoever finds that a command cannot go on; main reports it.
struct Failure {
  std::string what;  // went wrong
  std::string next;  // to do; may be empty
  int exit_code = kExitFailed;
  std::shared_ptr<const Json> details = nullptr;  // more fields for --json
  int signal = 0;  // that ends the tool when this has been said
};

// For a Failure's details: an object, and {"signal": number}.
std::shared_ptr<const Json> Details(const Json& fields);
std::shared_ptr<const Json> SignalDetails(int number);

// A failure of what the user gave.
Failure UsageFailure(const std::string& what, const std::string& next);

// "cannot read FILE: " and the system's reason, which is in errno.
Failure SystemFailure(const std::string& verb, const std::string& path,
                      const std::string& next, int exit_code = kExitFailed);

// Text with whatever would steer a terminal replaced by '?'.
std::string Printable(std::string text);

// A command that needs root's rights, as this user types it: where root works
// there may be no sudo.
std::string AsRoot(const std::string& command);

// One line on standard error.
void Say(const std::string& text);

class Report {
 public:
  // `command` as "capture" or "log follow".
  Report(std::string command, bool json)
      : command_(std::move(command)), json_(json) {}

  // The result, as fields for --json and as text otherwise. Returns the exit
  // code, kExitFailed when standard output cannot take it.
  int Result(const Json& fields, const std::string& text,
             int exit_code = kExitOk) const;

  // Returns the failure's exit code.
  int Failed(const Failure& failure) const;

  bool IsJson() const { return json_; }

 private:
  bool WriteObject(bool ok, const Json& fields) const;

  std::string command_;
  bool json_;
};

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_REPORT_H_
