// Waiting for presses, for the commands that need some.
#ifndef APPS_MVFP_COMMANDS_CAPTURE_H_
#define APPS_MVFP_COMMANDS_CAPTURE_H_

#include <string>

#include "calls/device_call.h"

namespace corvex::mvfp {

struct PressOptions : DeviceOptions {
  int timeout_s = 0;  // for all presses together
};

void AddPressOptions(const Arguments& arguments, int timeout_s,
                     PressOptions* options);

// Each shows on a terminal what is awaited, and throws a Failure when it does
// not come.

std::string CaptureFeature(
    const PressOptions& options,
    const std::string& prompt = "press the finger on the sensor");

// By one call of the driver, which does not tell of the single presses.
std::string CaptureTemplate(const PressOptions& options, bool guided);

// Whether the sensor was seen empty within seconds; it need not be.
bool AwaitLift(const PressOptions& options);

// The file for the text that a command captures, else standard output.
void AddOutputOption(const Arguments& arguments, std::string* output);
void CheckOutput(const std::string& output);
void WriteOutput(const std::string& output, const std::string& text);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_COMMANDS_CAPTURE_H_
