// capture and enroll: waiting for presses.
#include "commands/capture.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <regex>

#include "calls/day_log.h"
#include "calls/driver.h"
#include "calls/result_codes.h"
#include "commands/commands.h"
#include "files.h"

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
constexpr Help kEnroll = {
    "enroll", "Wait for three presses and print their template",
    R"(Press the same finger three times and lift it between; the reader beeps for
each press it took. On a terminal the seconds left are shown, and while the
day's log is on (mvfp log on) also which press is due: nothing else tells.
With --guided a window on the screen names the press that is due, and closing
it gives the enrolment up; where no window can be shown, the enrolment goes on
without one. The template is one line of Base64.

Examples:
  mvfp enroll --port ttyUSB0 -o anna.template
  mvfp enroll --port ttyUSB0 -o anna.template --guided
  mvfp enroll --port ttyUSB0 --json
)"};

struct Options : PressOptions {
  std::string output;  // file for the text; "" is standard output
  bool guided = false;
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
  Progress(int presses, int timeout_s)
      : presses_(presses), timeout_s_(timeout_s) {}
  ~Progress() {
    if (visible_) fputs(kClearLine, stderr);
  }

  void Update(pid_t worker, long elapsed_ms) {
    if (!visible_) return;
    for (const std::string& line : log_.Poll()) {
      if (TellsOfRecord(line, worker)) ++taken_;
    }
    const long left_s = std::max(0L, timeout_s_ - elapsed_ms / 1000);
    fprintf(stderr, "%smvfp: %s (%ld s left)", kClearLine, Prompt().c_str(),
            left_s);
  }

 private:
  static constexpr char kClearLine[] = "\r\033[K";

  // A reply with more than this many bytes is a record, so a press was taken.
  static constexpr int kLongestNoRecord = 16;

  static bool TellsOfRecord(const std::string& line, pid_t worker) {
    const std::regex length("\\]\\[" + std::to_string(worker) +
                            ":.*corvex_dev_io 数据长度:\\[([0-9]{1,6})");
    std::smatch found;
    return std::regex_search(line, found, length) &&
           std::stoi(found[1]) > kLongestNoRecord;
  }

  std::string Prompt() const {
    if (presses_ == 1) return "press the finger on the sensor";
    if (log_.OpenPath().empty()) {
      return "press three times, lift between; a beep takes each";
    }
    if (taken_ >= presses_) return "all presses taken";
    return (taken_ == 0 ? "press " : "lift the finger, then press ") +
           std::to_string(taken_ + 1) + " of " + std::to_string(presses_);
  }

  const bool visible_ = isatty(STDERR_FILENO) != 0;
  const int presses_;
  const int timeout_s_;
  LogFollower log_{false};
  int taken_ = 0;
};

int Deliver(const Report& report, const Options& options, const char* field,
            const std::string& text) {
  Json fields = {{field, text}};
  if (options.output.empty()) return report.Result(fields, text + "\n");
  if (!WriteText(options.output, text + "\n", kOwnersAlone)) {
    throw SystemFailure("write", options.output,
                        std::string(kOtherFile) + ", and press again");
  }
  Say("wrote " + options.output);
  fields["file"] = options.output;
  return report.Result(fields, "");
}

std::string Wait(const PressOptions& options,
                 const DriverCall<decltype(FG_GetFeature)>& call, int presses) {
  const Reply reply = [&] {
    Progress progress(presses, options.timeout_s);
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

int Take(const Report& report, const Options& options,
         const DriverCall<decltype(FG_GetFeature)>& call, int presses,
         const char* field) {
  if (!options.output.empty()) CheckWritable(options.output, kOtherFile);
  return Deliver(report, options, field, Wait(options, call, presses));
}

int Capture(const Report& report, const Options& options) {
  return Take(report, options, MVFP_DRIVER_CALL(FG_GetFeature), 1, "feature");
}

int Enroll(const Report& report, const Options& options) {
  return Take(report, options,
              options.guided ? MVFP_DRIVER_CALL(FG_TipsGetTemplate)
                             : MVFP_DRIVER_CALL(FG_GetTemplate),
              3, "template");
}

void AddOutputOption(const Command<Options>& command) {
  command.app
      ->add_option("-o,--output", command.options->output,
                   "Write the text to a file instead")
      ->type_name("FILE");
}

}  // namespace

void AddPressOptions(CLI::App* command, int timeout_s, PressOptions* options) {
  constexpr int kLongest = 86400;
  options->timeout_s = timeout_s;
  AddDeviceOptions(command, options);
  command
      ->add_option("-t,--timeout", options->timeout_s,
                   "How long to wait for all presses together [" +
                       std::to_string(timeout_s) + "]")
      ->check(CLI::Range(1, kLongest))
      ->type_name("SECONDS");
}

std::string CaptureFeature(const PressOptions& options) {
  return Wait(options, MVFP_DRIVER_CALL(FG_GetFeature), 1);
}

void AddCaptureAndEnroll(CommandLine* line) {
  const auto capture = line->Add(kCapture, Capture);
  AddPressOptions(capture.app, 20, capture.options);
  AddOutputOption(capture);
  const auto enroll = line->Add(kEnroll, Enroll);
  AddPressOptions(enroll.app, 60, enroll.options);
  AddOutputOption(enroll);
  enroll.app->add_flag("--guided", enroll.options->guided,
                       "Guide the user with the prompt window");
}

}  // namespace corvex::mvfp
