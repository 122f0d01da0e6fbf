// mvfp: a fingerprint reader on the command line.
//
// In this order: the commands, their help, the parsing, main.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>

#include "commands.h"
#include "config.h"
#include "driver.h"
#include "report.h"

namespace {

using corvex::mvfp::Config;

struct Command {
  const char* name;
  int (*run)(const Config& config);
  const char* summary;
  const char* examples;
  bool calls_driver = false;
};

constexpr char kFooter[] =
    R"(Results go to standard output, everything else to standard error.

Exit codes:
  0    done; for match: the records match
  1    a valid no: no match, no finger on the sensor, a malformed record
  2    bad option, argument or file; no reader was touched
  3    the presses did not come in time, or gave nothing
  4    anything else; standard error carries the driver's code
  130  ended by Ctrl-C; the port and the reader are free again

Examples:
  mvfp version --port ttyUSB0
  mvfp enroll --port ttyUSB0 -o anna.template
  mvfp capture --port ttyUSB0 | mvfp match anna.template -
)";

constexpr Command kVersion = {"version", corvex::mvfp::RunVersion,
                              "Print the reader's firmware version",
                              R"(Examples:
  mvfp version --port ttyUSB0
  MVFP_PORT=ttyUSB0 mvfp version --json
)",
                              true};
constexpr Command kSn = {"sn", corvex::mvfp::RunSn,
                         "Print the reader's serial number",
                         R"(Examples:
  mvfp sn --port ttyUSB0
  mvfp sn --port ttyS1 --box A
)",
                         true};
constexpr Command kInfo = {
    "info", corvex::mvfp::RunInfo, "Print what the driver's JSON entry tells",
    R"(Brand, model, firmware, serial number and date of production. The entry knows
ports by number: 3 is /dev/COM3, a name that mvfp bind makes. With --json the
entry's reply is printed as it is.

Examples:
  sudo mvfp bind 3 --port ttyUSB0
  mvfp info --port COM3
  mvfp info --port COM3 --json
)",
    true};
constexpr Command kProbe = {"probe", corvex::mvfp::RunProbe,
                            "Tell whether a finger lies on the sensor",
                            R"(Prints "finger" (exit 0) or "no finger" (exit 1).

Examples:
  mvfp probe --port ttyUSB0
  until mvfp probe --port ttyUSB0; do sleep 1; done
)",
                            true};
constexpr Command kCapture = {"capture", corvex::mvfp::RunCapture,
                              "Wait for one press and print its feature",
                              R"(The feature is one line of Base64.

Examples:
  mvfp capture --port ttyUSB0
  mvfp capture --port ttyUSB0 --timeout 5 -o door.feature
  mvfp capture --port ttyUSB0 | mvfp match anna.template -
)",
                              true};
constexpr Command kEnroll = {
    "enroll", corvex::mvfp::RunEnroll,
    "Wait for three presses and print their template",
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
)",
    true};
constexpr Command kMatch = {
    "match", corvex::mvfp::RunMatch, "Compare two records",
    R"(A record is the name of a file that holds it (@NAME for certain), - for
standard input, or the text itself: Base64, or hexadecimal digits. Prints the
score and the decision; exit 0 is a match, 1 is none. Level 0 prints the score
alone. The score must exceed 30, 32, 36, 40 or 45 at levels 1 to 5.

Examples:
  mvfp match anna.template door.feature
  mvfp match --level 5 anna.template door.feature
  mvfp capture --port ttyUSB0 | mvfp match anna.template -
)",
    true};
constexpr Command kInspect = {
    "inspect", corvex::mvfp::RunInspect,
    "Show a record as a table or a picture",
    R"(A record is given as for match. What is wrong with a malformed one, and where,
goes to standard error; the exit code is then 1.

Examples:
  mvfp inspect anna.template
  mvfp inspect anna.template --picture anna.svg
  mvfp inspect EgACZKDIMkWgZMgyRQ== --json
)"};
constexpr char kLogSummary[] = "Switch or read the driver's log of the day";
constexpr char kLogExamples[] =
    R"(While /tmp/fplog_YYYYMMDD.log exists, every call of every program on this
machine writes to it. A log is for one day only.

Examples:
  mvfp log on
  mvfp log follow --from-start
  mvfp log off
)";
constexpr Command kLogOn = {"on", corvex::mvfp::RunLogOn,
                            "Create today's log, for all users",
                            "Example:\n  mvfp log on\n"};
constexpr Command kLogOff = {"off", corvex::mvfp::RunLogOff,
                             "Remove today's log and what it holds",
                             "Example:\n  mvfp log off\n"};
constexpr Command kLogFollow = {
    "follow", corvex::mvfp::RunLogFollow,
    "Print what is added to the log, past midnight too",
    R"(With --json, one object a line.

Examples:
  mvfp log follow
  mvfp log follow --from-start
)"};

constexpr Command kExplain = {
    "explain", corvex::mvfp::RunExplain, "Explain a result code of the driver",
    R"(The same number means different things in different calls: name the call too,
as in mv_fpi.h or without its prefix, to get only what it means there. A code
is given as a number or by its constant. Without a code, all are listed.

Examples:
  mvfp explain -14
  mvfp explain -14 FG_GetFeature
  mvfp explain FG_ERR_SELECTOR getfeature
)"};

constexpr Command kBind = {
    "bind", corvex::mvfp::RunBind,
    "Give a reader's port the lasting name /dev/COM<n>",
    R"(The JSON entry asks for ports by number: 3 is /dev/COM3. A udev rule makes that
name for the adapter that is at the port now, and keeps modem probers away from
it. It knows the adapter by its serial number, in whichever socket; or, when
there is none, by the socket. Cheap adapters may all bear the same serial
number: use --by-socket where there are two of a kind. Writing and removing
need root.

Examples:
  mvfp bind 3 --port ttyUSB0 --print
  sudo mvfp bind 3 --port ttyUSB0
  mvfp bind --list
  sudo mvfp bind 3 --remove
)"};

constexpr Command kDoctor = {
    "doctor", corvex::mvfp::RunDoctor, "Find out what keeps calls from working",
    R"(Looks at the driver and what it needs, the lock, the log, and the port; without
--port at every port that may have a reader. Each line is ok, a note (calls work,
with less comfort) or a problem (calls fail); below it stands the one command
that mends it. Nothing is changed, and no reader is asked. Exit 0 says that a
call can work, 1 that none can. Only root sees what other users' processes do.

Examples:
  mvfp doctor
  mvfp doctor --port ttyUSB0
  sudo mvfp doctor --port ttyUSB0 --json
)"};

// What the command line decides: the options, and what runs with them.
struct Choice {
  Config config;
  int (*run)(const Config& config) = nullptr;
  bool calls_driver = false;
};

void AddJsonOption(CLI::App* app, Choice* choice) {
  app->add_flag("--json", choice->config.json,
                "Print one JSON object, for failures too");
}

CLI::App* AddCommand(CLI::App* parent, const Command& command, Choice* choice) {
  CLI::App* const app = parent->add_subcommand(command.name, command.summary);
  app->footer(command.examples);
  AddJsonOption(app, choice);
  const std::string prefix =
      parent->get_parent() == nullptr ? "" : parent->get_name() + " ";
  app->callback([choice, &command, prefix] {
    choice->config.command = prefix + command.name;
    choice->run = command.run;
    choice->calls_driver = command.calls_driver;
  });
  return app;
}

CLI::App* AddPortCommand(CLI::App* parent, const Command& command,
                         Choice* choice) {
  CLI::App* const app = AddCommand(parent, command, choice);
  app->add_option("-p,--port", choice->config.port,
                  "Serial port: ttyUSB0 or /dev/ttyUSB0")
      ->envname("MVFP_PORT")
      ->type_name("PORT");
  return app;
}

CLI::App* AddDeviceCommand(CLI::App* parent, const Command& command,
                           Choice* choice) {
  CLI::App* const app = AddPortCommand(parent, command, choice);
  app->add_option("--box", choice->config.box,
                  "Branch of the switch box before the reader: A, B, C or K")
      ->check(CLI::IsMember({"A", "B", "C", "K"}))
      ->type_name("LETTER");
  return app;
}

CLI::App* AddCapturingCommand(CLI::App* parent, const Command& command,
                              int timeout_s, Choice* choice) {
  CLI::App* const app = AddDeviceCommand(parent, command, choice);
  constexpr int kLongest = 86400;
  const std::string help = "How long to wait for all presses together [" +
                           std::to_string(timeout_s) + "]";
  app->add_option("-t,--timeout", choice->config.timeout_s, help)
      ->check(CLI::Range(1, kLongest))
      ->type_name("SECONDS");
  app->add_option("-o,--output", choice->config.output,
                  "Write the text to a file instead")
      ->type_name("FILE");
  app->preparse_callback(
      [choice, timeout_s](size_t) { choice->config.timeout_s = timeout_s; });
  return app;
}

void AddMatchCommand(CLI::App* parent, Choice* choice) {
  CLI::App* const app = AddCommand(parent, kMatch, choice);
  app->add_option("FIRST", choice->config.first, "The template")->required();
  app->add_option("SECOND", choice->config.second, "The feature to compare")
      ->required();
  app->add_option("-l,--level", choice->config.level,
                  "Security level 1 to 5 [3]; 0: the score alone")
      ->check(CLI::Range(0, 5))
      ->type_name("LEVEL");
}

void AddInspectCommand(CLI::App* parent, Choice* choice) {
  CLI::App* const app = AddCommand(parent, kInspect, choice);
  app->add_option("RECORD", choice->config.first, "The record")->required();
  app->add_option("--picture", choice->config.picture,
                  "Draw the minutiae to a file: NAME.svg or NAME.png")
      ->type_name("FILE");
}

void AddLogCommands(CLI::App* parent, Choice* choice) {
  CLI::App* const app = parent->add_subcommand("log", kLogSummary);
  app->footer(kLogExamples);
  app->require_subcommand(1);
  AddCommand(app, kLogOn, choice);
  AddCommand(app, kLogOff, choice);
  AddCommand(app, kLogFollow, choice)
      ->add_flag("--from-start", choice->config.from_start,
                 "Begin with what today's log already holds");
}

void AddExplainCommand(CLI::App* parent, Choice* choice) {
  CLI::App* const app = AddCommand(parent, kExplain, choice);
  CLI::Option* const code = app->add_option("CODE", choice->config.code,
                                            "The code: -14 or FG_ERR_BUSY");
  app->add_option("FUNCTION", choice->config.function, "The call that gave it");
  app->add_flag("--markdown", choice->config.markdown,
                "Print all codes as a Markdown page")
      ->excludes(code);
}

void AddBindCommand(CLI::App* parent, Choice* choice) {
  CLI::App* const app = AddPortCommand(parent, kBind, choice);
  Config& config = choice->config;
  CLI::Option* const number =
      app->add_option("NUMBER", config.number, "The n of /dev/COM<n>")
          ->check(CLI::Range(0, corvex::mvfp::kHighestCom));
  app->add_flag("--by-socket", config.by_socket,
                "Know the adapter by its USB socket");
  CLI::Option* const print =
      app->add_flag("--print", config.print, "Print the rule, change nothing");
  app->add_flag("--remove", config.remove, "Take the name away")
      ->excludes(print);
  app->add_flag("--list", config.list, "Print the names that were given")
      ->excludes(number);
}

void AddEverything(CLI::App* app, Choice* choice) {
  app->set_version_flag("--version", "mvfp " MVFP_VERSION);
  app->footer(kFooter);
  app->require_subcommand(1);
  AddJsonOption(app, choice);
  AddDeviceCommand(app, kVersion, choice);
  AddDeviceCommand(app, kSn, choice);
  AddPortCommand(app, kInfo, choice);
  AddDeviceCommand(app, kProbe, choice);
  AddCapturingCommand(app, kCapture, 20, choice);
  AddCapturingCommand(app, kEnroll, 60, choice)
      ->add_flag("--guided", choice->config.guided,
                 "Guide the user with the prompt window");
  AddMatchCommand(app, choice);
  AddInspectCommand(app, choice);
  AddLogCommands(app, choice);
  AddExplainCommand(app, choice);
  AddBindCommand(app, choice);
  AddPortCommand(app, kDoctor, choice);
}

// Parsing stopped before it saw every option, so --json is looked for by hand.
bool AsksForJson(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "--json") return true;
  }
  return false;
}

int PrintUsageError(const CLI::App& app, const CLI::ParseError& error,
                    Config config, bool json) {
  std::string path = "mvfp";
  const CLI::App* chosen = &app;
  while (!chosen->get_subcommands().empty()) {
    chosen = chosen->get_subcommands().back();
    path += " " + chosen->get_name();
  }
  config.json = json;
  config.command = path.substr(path.find(' ') + 1);
  corvex::mvfp::Failure failure;
  failure.exit_code = corvex::mvfp::kExitUsage;
  failure.what = error.what();
  failure.next = "see: " + path + " --help";
  return PrintFailure(config, failure);
}

int PrintNoDriver(const Config& config, const std::string& why) {
  corvex::mvfp::Failure failure;
  failure.what = "cannot load the driver: " + why;
  failure.next = "see what is wrong: mvfp doctor";
  return PrintFailure(config, failure);
}

int Run(const Choice& choice) {
  try {
    const std::string why =
        choice.calls_driver ? corvex::mvfp::LoadDriver() : "";
    if (!why.empty()) return PrintNoDriver(choice.config, why);
    return choice.run(choice.config);
  } catch (const std::exception& error) {
    corvex::mvfp::Failure failure;
    failure.what = std::string("the system refused: ") + error.what();
    return PrintFailure(choice.config, failure);
  }
}

int ParseAndRun(int argc, char** argv) {
  Choice choice;
  CLI::App app("Enrol, capture and compare fingerprints.", "mvfp");
  AddEverything(&app, &choice);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& request) {
    return app.exit(request);
  } catch (const CLI::ParseError& error) {
    return PrintUsageError(app, error, choice.config, AsksForJson(argc, argv));
  }
  return Run(choice);
}

}  // namespace

int main(int argc, char** argv) {
  // A caller that ignores its children must not keep this tool from its own.
  signal(SIGCHLD, SIG_DFL);
  try {
    return ParseAndRun(argc, argv);
  } catch (...) {
    fputs("mvfp: out of memory\n", stderr);
    return corvex::mvfp::kExitFailed;
  }
}
