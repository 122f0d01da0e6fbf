// version, sn, probe, capture and enroll: the commands that talk to a reader.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "call_failure.h"
#include "commands.h"
#include "device_call.h"
#include "port.h"
#include "wait_progress.h"

namespace corvex::mvfp {
namespace {

// A reader that is silent for this long did not answer the probe.
constexpr long kSilentReaderMs = 10000;

int PrintNoPort(const Config& config) {
  const std::string what =
      config.port.empty() ? "no port given"
                          : "\"" + config.port + "\" names no port below /dev";
  return PrintUsage(config, what,
                    "name it with --port or in MVFP_PORT; " + KnownPorts());
}

bool Succeeded(const Outcome& outcome) {
  return outcome.interrupted_by == 0 && outcome.crashed_by == 0 &&
         outcome.reply.rc == FG_OK;
}

using Query = int (*)(const char* port, const char* box, int speed, char* out);

// A call that asks the reader for one short text.
int RunQuery(const Config& config, Call call, Query query, const char* field) {
  const std::string port = PortName(config.port);
  if (port.empty()) return PrintNoPort(config);
  const Outcome outcome = RunDeviceCall(
      port,
      [&](Reply* reply) {
        reply->rc =
            query(port.c_str(), config.box.c_str(), FG_LINK_SPEED, reply->text);
      },
      nullptr);
  if (!Succeeded(outcome)) return PrintCallFailure(config, call, outcome, port);
  const std::string text = outcome.reply.text;
  return PrintResult(config, {{field, text}}, Printable(text) + "\n");
}

// What capture and enroll differ in.
struct CaptureKind {
  Call call;
  int (*run)(const char* port, const char* box, int speed, int timeout_s,
             char* text, int* text_len, char* message);
  int presses;
  const char* field;
};

constexpr CaptureKind kCapture = {kGetFeature, FG_GetFeature, 1, "feature"};
constexpr CaptureKind kEnrolment = {kGetTemplate, FG_GetTemplate, 3,
                                    "template"};
constexpr CaptureKind kGuidedEnrolment = {kTipsGetTemplate, FG_TipsGetTemplate,
                                          3, "template"};

Outcome Wait(const Config& config, const CaptureKind& kind,
             const std::string& port) {
  WaitProgress progress(kind.presses, config.timeout_s);
  return RunDeviceCall(
      port,
      [&](Reply* reply) {
        int length = 0;
        reply->rc =
            kind.run(port.c_str(), config.box.c_str(), FG_LINK_SPEED,
                     config.timeout_s, reply->text, &length, reply->message);
      },
      [&](pid_t worker, long elapsed_ms) {
        progress.Update(worker, elapsed_ms);
      });
}

// Whether the file can be written, asked before anybody presses a finger.
bool CanWrite(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) errno = EISDIR;
    return !S_ISDIR(status.st_mode) && access(path.c_str(), W_OK) == 0;
  }
  const size_t slash = path.rfind('/');
  const std::string directory =
      slash == std::string::npos ? "." : path.substr(0, slash + 1);
  return access(directory.c_str(), W_OK | X_OK) == 0;
}

// A fingerprint is nobody else's business: a new file is its owner's alone.
bool WriteOutput(const std::string& path, const std::string& text) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC,
                        S_IRUSR | S_IWUSR);
  if (file < 0) return false;
  const bool written = write(file, text.data(), text.size()) ==
                       static_cast<ssize_t>(text.size());
  return close(file) == 0 && written;
}

int PrintText(const Config& config, const CaptureKind& kind,
              const std::string& text) {
  Json fields = {{kind.field, text}};
  if (config.output.empty()) return PrintResult(config, fields, text + "\n");
  if (!WriteOutput(config.output, text + "\n")) {
    Failure failure;
    failure.what = "cannot write " + config.output + ": " + strerror(errno);
    failure.next = "name another file with --output, and press again";
    return PrintFailure(config, failure);
  }
  fields["file"] = config.output;
  Say("wrote " + config.output);
  return PrintResult(config, fields, "");
}

int PrintEmpty(const Config& config) {
  Failure failure;
  failure.exit_code = kExitNoPress;
  failure.what = "the reader took the press but found no print in it";
  failure.next = "clean the sensor and press again";
  return PrintFailure(config, failure);
}

int RunCapturing(const Config& config, const CaptureKind& kind) {
  const std::string port = PortName(config.port);
  if (port.empty()) return PrintNoPort(config);
  if (!config.output.empty() && !CanWrite(config.output)) {
    return PrintUsage(config,
                      "cannot write " + config.output + ": " + strerror(errno),
                      "name another file with --output");
  }
  const Outcome outcome = Wait(config, kind, port);
  if (!Succeeded(outcome)) {
    return PrintCallFailure(config, kind.call, outcome, port);
  }
  const std::string text = outcome.reply.text;
  if (text.empty()) return PrintEmpty(config);
  return PrintText(config, kind, text);
}

}  // namespace

int RunVersion(const Config& config) {
  return RunQuery(config, kGetDevVersion, FG_GetDevVersion, "version");
}

int RunSn(const Config& config) {
  return RunQuery(config, kGetDevSn, FG_GetDevSn, "serial_number");
}

int RunProbe(const Config& config) {
  const std::string port = PortName(config.port);
  if (port.empty()) return PrintNoPort(config);
  const Outcome outcome = RunDeviceCall(
      port,
      [&](Reply* reply) {
        reply->rc =
            FG_CheckPressed(port.c_str(), config.box.c_str(), FG_LINK_SPEED);
      },
      nullptr);
  if (Succeeded(outcome)) {
    return PrintResult(config, {{"finger", true}}, "finger\n");
  }
  if (outcome.reply.rc != FG_ERR_NO_FINGER) {
    return PrintCallFailure(config, kCheckPressed, outcome, port);
  }
  if (outcome.elapsed_ms >= kSilentReaderMs) {
    Say("the reader did not answer the probe; try: mvfp version");
  }
  return PrintResult(config, {{"finger", false}}, "no finger\n", kExitNo);
}

int RunCapture(const Config& config) { return RunCapturing(config, kCapture); }

int RunEnroll(const Config& config) {
  return RunCapturing(config, config.guided ? kGuidedEnrolment : kEnrolment);
}

}  // namespace corvex::mvfp
