// version, sn and probe: questions that a reader answers at once.
#include <nlohmann/json.hpp>

#include "calls/queries.h"
#include "calls/result_codes.h"
#include "commands/commands.h"

namespace corvex::mvfp {
namespace {

constexpr Help kVersion = {"version", "Print the reader's firmware version",
                           R"(Examples:
  mvfp version --port ttyUSB0
  MVFP_PORT=ttyUSB0 mvfp version --json
)"};
constexpr Help kSn = {"sn", "Print the reader's serial number",
                      R"(Examples:
  mvfp sn --port ttyUSB0
  mvfp sn --port ttyS1 --box A
)"};

constexpr Help kProbe = {"probe", "Tell whether a finger lies on the sensor",
                         R"(Prints "finger" (exit 0) or "no finger" (exit 1).

Examples:
  mvfp probe --port ttyUSB0
  until mvfp probe --port ttyUSB0; do sleep 1; done
)"};

int Ask(const Report& report, const DeviceOptions& options, const char* query,
        const char* field) {
  const Reply reply = AskForText(query, options);
  if (reply.rc != FG_OK) throw CallFailure(query, reply, options);
  return report.Result({{field, reply.text}}, Printable(reply.text) + "\n");
}

int Version(const Report& report, const DeviceOptions& options) {
  return Ask(report, options, kVersionQuery, "version");
}

int Sn(const Report& report, const DeviceOptions& options) {
  return Ask(report, options, kSnQuery, "serial_number");
}

// A reader that is silent for this long did not answer the probe.
constexpr long kSilentReaderMs = 10000;

int Probe(const Report& report, const DeviceOptions& options) {
  const Reply reply = AskForFinger(options);
  if (reply.rc == FG_OK) return report.Result({{"finger", true}}, "finger\n");
  if (reply.rc != FG_ERR_NO_FINGER) {
    throw CallFailure(kFingerQuery, reply, options);
  }
  if (reply.elapsed_ms >= kSilentReaderMs) {
    Say("the reader did not answer the probe; try: mvfp version");
  }
  return report.Result({{"finger", false}}, "no finger\n", kExitNo);
}

}  // namespace

void AddVersionSnAndProbe(CommandLine* line) {
  for (const auto& [arguments, options] :
       {line->Add(kVersion, Version), line->Add(kSn, Sn),
        line->Add(kProbe, Probe)}) {
    AddDeviceOptions(arguments, options);
  }
}

}  // namespace corvex::mvfp
