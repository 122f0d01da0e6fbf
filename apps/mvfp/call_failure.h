// Turns a driver call that failed into what the tool prints about it.
#ifndef APPS_MVFP_CALL_FAILURE_H_
#define APPS_MVFP_CALL_FAILURE_H_

#include <string>

#include "config.h"
#include "device_call.h"
#include "report.h"
#include "result_codes.h"

namespace corvex::mvfp {

// What a result code can mean, as --json shows it.
Json ToJson(const CodeMeaning& meaning);

// A call that returned a code other than success.
Failure DescribeCode(Call call, int code, const std::string& message,
                     long elapsed_ms, const std::string& port);

// A call that was cut short, crashed or failed: prints that and returns the
// exit code, or ends the process when a signal asked for it.
int PrintCallFailure(const Config& config, Call call, const Outcome& outcome,
                     const std::string& port);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_CALL_FAILURE_H_
