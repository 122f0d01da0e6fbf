// capture, and every wait for presses.
#include "commands/capture.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

#include "calls/day_log.h"
#include "calls/driver.h"
#include "calls/queries.h"
#include "calls/result_codes.h"
#include "calls/wait_line.h"
#include "commands/commands.h"
#include "files.h"
#include "patterns.h"

namespace corvex::mvfp {
namespace {

constexpr Help kCapture = {"capture",
                           "Wait for one press and print its feature",
                           R"(The feature is one line of Base64.

Examples:
  mvfp capture --port ttyUSB0
  mvfp capture --port ttyUSB0 --timeout 5 -o door.feature
  mvfp capture --port ttyUSB0 | mvfp match anna.template -
)"};

struct Options : PressOptions {
  std::string output;
};

constexpr char kOtherFile[] = "name another file with --output";

// Tells the person at the reader what is awaited, on a terminal only.
//
// No call tells which press it awaits. The day's log does, so while it is on
// the line names the press; otherwise it says what to do and leaves the
// counting to the reader's beeps. The log is never switched on for this: it
// would go on for everybody and all day.
class Progress {
 public:
  // `prompt` is for a call that awaits one thing.
  Progress(int presses, int timeout_s, std::string prompt)
      : presses_(presses), timeout_s_(timeout_s), prompt_(std::move(prompt)) {}

  void Update(pid_t worker, long elapsed_ms) {
    if (!line_.IsVisible()) return;
    for (const std::string& line : log_.Poll()) {
      if (TellsOfRecord(line, worker)) ++taken_;
    }
    const long left_s = std::max(0L, timeout_s_ - elapsed_ms / 1000);
    // First, for a narrow terminal cuts the end off.
    line_.Show(std::to_string(left_s) + " s left: " + Prompt());
  }

 private:
  // A reply with more than this many bytes is a record, so a press was taken.
  static constexpr int kLongestNoRecord = 16;

  static bool TellsOfRecord(const std::string& line, pid_t worker) {
    const auto found =
        FindPattern(line, "\\]\\[" + std::to_string(worker) +
                              ":.*corvex_dev_io 数据长度:\\[([0-9]{1,6})");
    return !found.empty() && std::stoi(found[1]) > kLongestNoRecord;
  }

  std::string Prompt() const {
    if (presses_ == 1) return prompt_;
    if (log_.OpenPath().empty()) {
      return "press three times, lift between; a beep takes each";
    }
    if (taken_ >= presses_) return "all presses taken";
    return (taken_ == 0 ? "press " : "lift the finger, then press ") +
           std::to_string(taken_ + 1) + " of " + std::to_string(presses_);
  }

  WaitLine line_;
  const int presses_;
  const int timeout_s_;
  const std::string prompt_;
  LogFollower log_{false};
  int taken_ = 0;
};

std::string Wait(const PressOptions& options,
                 const DriverCall<decltype(FG_GetFeature)>& call, int presses,
                 const std::string& prompt) {
  const Reply reply = [&] {
    Progress progress(presses, options.timeout_s, prompt);
    return RunDeviceCall(
        call.name, options,
        [&](const char* port, const char* box, Reply* to) {
          int length = 0;
          return call.run(port, box, FG_LINK_SPEED, options.timeout_s, to->text,
                          &length, to->message);
        },
        [&](pid_t worker, long elapsed_ms) {
          progress.Update(worker, elapsed_ms);
        });
  }();
  if (reply.rc != FG_OK) throw CallFailure(call.name, reply, options);
  if (*reply.text != '\0') return reply.text;
  throw Failure{"the reader took the press but found no print in it",
                "clean the sensor and press again", kExitNoPress};
}

int Capture(const Report& report, const Options& options) {
  CheckOutput(options.output);
  const std::string text = CaptureFeature(options);
  Json fields = {{"feature", text}};
  if (options.output.empty()) return report.Result(fields, text + "\n");
  WriteOutput(options.output, text);
  fields["file"] = options.output;
  return report.Result(fields, "");
}

}  // namespace

void AddOutputOption(const Arguments& arguments, std::string* output) {
  arguments.Text("-o,--output", output, "Write the text to a file instead")
      .Named("FILE");
}

void CheckOutput(const std::string& output) {
  if (!output.empty()) CheckWritable(output, kOtherFile);
}

void WriteOutput(const std::string& output, const std::string& text) {
  if (!WriteText(output, text + "\n", kOwnersAlone)) {
    throw SystemFailure("write", output,
                        std::string(kOtherFile) + ", and press again");
  }
  Say("wrote " + output);
}

void AddPressOptions(const Arguments& arguments, int timeout_s,
                     PressOptions* options) {
  constexpr int kLongest = 86400;
  options->timeout_s = timeout_s;
  AddDeviceOptions(arguments, options);
  arguments
      .Number("-t,--timeout", &options->timeout_s, 1, kLongest,
              "How long to wait for all presses together [" +
                  std::to_string(timeout_s) + "]")
      .Named("SECONDS");
}

std::string CaptureFeature(const PressOptions& options,
                           const std::string& prompt) {
  return Wait(options, MVFP_DRIVER_CALL(FG_GetFeature), 1, prompt);
}

std::string CaptureTemplate(const PressOptions& options, bool guided) {
  return Wait(options,
              guided ? MVFP_DRIVER_CALL(FG_TipsGetTemplate)
                     : MVFP_DRIVER_CALL(FG_GetTemplate),
              3, "");
}

bool AwaitLift(const PressOptions& options) {
  constexpr int kPatienceS = 3;
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::seconds(kPatienceS);
  Progress progress(1, options.timeout_s, "lift the finger");
  while (Clock::now() < end) {
    const Reply reply =
        AskForFinger(options, [&](pid_t worker, long elapsed_ms) {
          progress.Update(worker, elapsed_ms);
        });
    if (reply.rc == FG_ERR_NO_FINGER) return true;
    if (reply.rc != FG_OK) throw CallFailure(kFingerQuery, reply, options);
  }
  return false;
}

void AddCapture(CommandLine* line) {
  const auto [arguments, options] = line->Add(kCapture, Capture);
  AddPressOptions(arguments, 20, options);
  AddOutputOption(arguments, &options->output);
}

}  // namespace corvex::mvfp
