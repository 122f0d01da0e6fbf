// Waiting for a press, for the commands that need one.
#ifndef APPS_MVFP_COMMANDS_CAPTURE_H_
#define APPS_MVFP_COMMANDS_CAPTURE_H_

#include <string>

#include "calls/device_call.h"

namespace corvex::mvfp {

struct PressOptions : DeviceOptions {
  int timeout_s = 0;  // for all presses together
};

void AddPressOptions(CLI::App* command, int timeout_s, PressOptions* options);

// Waits for a press, on a terminal with a line that says so. Throws a Failure
// when none came.
std::string CaptureFeature(const PressOptions& options);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_COMMANDS_CAPTURE_H_
