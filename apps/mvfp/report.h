// How every command ends: one result on standard output (a text, or with
// --json one object), everything else on standard error behind the program's
// name, and a coarse exit code.
#ifndef APPS_MVFP_REPORT_H_
#define APPS_MVFP_REPORT_H_

#include <nlohmann/json.hpp>
#include <string>

#include "config.h"

namespace corvex::mvfp {

using Json = nlohmann::ordered_json;

enum ExitCode {      // scripts test these: add, never renumber
  kExitOk = 0,       // done; for match: the records match
  kExitNo = 1,       // a valid no: no match, no finger, a malformed record
  kExitUsage = 2,    // bad option, argument or file; no reader was touched
  kExitNoPress = 3,  // the presses did not come in time, or gave nothing
  kExitFailed = 4,   // anything else; standard error carries the driver's code
};

struct Failure {
  int exit_code = kExitFailed;  // or 128 and the signal that ended it
  std::string what;             // went wrong
  std::string next;             // to do; may be empty
  Json details = Json::object();
};

// Text with whatever would steer a terminal replaced by '?'.
std::string Printable(const std::string& text);

// One line on standard error.
void Say(const std::string& text);

// The result, as fields for --json and as text otherwise. Returns the exit
// code, kExitFailed when standard output cannot take it.
int PrintResult(const Config& config, const Json& fields,
                const std::string& text, ExitCode exit_code = kExitOk);

// Returns the failure's exit code.
int PrintFailure(const Config& config, const Failure& failure);

// A failure of what the user gave.
int PrintUsage(const Config& config, const std::string& what,
               const std::string& next);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_REPORT_H_
