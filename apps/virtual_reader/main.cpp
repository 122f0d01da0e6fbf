// mvfp-vreader: a fingerprint reader on a pseudo-terminal.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fstream>
#include <optional>
#include <string>

#include "virtual_reader/record_file.h"
#include "virtual_reader/script.h"
#include "virtual_reader/serving.h"

namespace {

using corvex::vreader::FingerBook;
using corvex::vreader::kProgram;
using corvex::vreader::ServingOptions;

enum ExitCode {            // scripts test these: add, never renumber
  kExitOk = 0,             // every request was well-formed
  kExitMisunderstood = 1,  // a request, or a line of standard input, was not
  kExitUsage = 2,          // bad option or file, or no pseudo-terminal
};

struct Config {
  int baud = 9600;
  std::string records_path;
  std::string script_path;  // "-": standard input
  std::string auto_press;   // a finger
  bool traces = false;
  std::string trace_path;
  std::string link_path;
};

constexpr char kFooter[] = R"(
The port's name is printed on one line of standard output when the reader can
be used; it is the name below /dev that the driver's functions take.

Examples:
  mvfp-vreader --auto-press 1       finger 1 lies on the sensor for ever
  mvfp-vreader --baud 0 --trace     no line delays; all traffic on stderr
  echo 'press 1; hold captures 3; press 2' | mvfp-vreader --script -
  mvfp-vreader --script FILE        presses and faults from a file

Script commands, several on a line between semicolons, "#" begins a comment:
  press FINGER [IMPRESSION]    lift          hold EVENT [N]
  wait MS                      wait-for EVENT [N]
  version [BYTE ...]           serial TEXT   unplug     quit
  FAULT [+ FAULT ...] [on COMMAND]           spoils one reply
EVENT: request probe capture beep led selector
COMMAND: version speed probe capture serial led beep
FAULT: silence, delay MS, dribble MS, truncate N, flip AT [BIT], double AT,
  garbage HEX, mark BYTE, echo BYTE, status BYTE, marker BYTE, length N,
  crc N, lower, hang-up [N]

Exit status: 0 all went well; 1 the host sent what a real reader would not
understand, or a line of standard input was in error; 2 bad option or file.)";

void AddOptions(CLI::App* app, Config* config) {
  app->set_version_flag("--version", MV_VERSION);
  app->add_option("--baud", config->baud,
                  "Line speed in bit/s; 0: as fast as possible")
      ->capture_default_str()
      ->check(CLI::Range(0, 4000000));
  app->add_option("--records", config->records_path,
                  "Fingers from a file, instead of synthetic ones: a record a "
                  "line in hexadecimal or Base64, or the four columns "
                  "database, finger, impression, record between tabs")
      ->type_name("FILE");
  app->add_option("--script", config->script_path,
                  "What happens to the reader; - for standard input")
      ->type_name("FILE|-");
  app->add_option("--auto-press", config->auto_press,
                  "Before the script: this finger lies on the sensor, every "
                  "capture is a new impression of it")
      ->type_name("FINGER");
  app->add_option("--trace", config->trace_path,
                  "Write all traffic to a file, or to standard error")
      ->type_name("FILE")
      ->expected(0, 1);
  app->add_option("--link", config->link_path,
                  "Symbolic link to the port, for as long as it lives")
      ->type_name("PATH");
  app->footer(kFooter);
}

std::optional<std::string> ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file.is_open()) return std::nullopt;
  std::string text;
  char part[4096];
  // Not the stream's iterators: they throw at a directory.
  while (file.read(part, sizeof part) || file.gcount() > 0) {
    text.append(part, static_cast<size_t>(file.gcount()));
  }
  if (file.bad()) return std::nullopt;
  return text;
}

// Prints what is wrong with a file; true when nothing is.
bool IsFaultless(const std::string& path,
                 const std::vector<std::string>& errors) {
  for (const std::string& error : errors) {
    fprintf(stderr, "%s: %s: %s\n", kProgram, path.c_str(), error.c_str());
  }
  return errors.empty();
}

bool LoadFingers(const Config& config, ServingOptions* options) {
  if (config.records_path.empty()) return true;
  const auto text = ReadFile(config.records_path);
  if (!text) return IsFaultless(config.records_path, {"cannot be read"});
  auto records = corvex::vreader::ParseRecords(*text);
  options->fingers = std::move(records.book);
  return IsFaultless(config.records_path, records.errors);
}

bool CheckScript(const std::string& path, const std::string& text,
                 const FingerBook& fingers) {
  const auto script = corvex::vreader::ParseScript(text);
  return IsFaultless(path, script.errors) &&
         IsFaultless(path, FindMissing(script, fingers));
}

bool LoadScript(const Config& config, ServingOptions* options) {
  if (!config.auto_press.empty())
    options->script = "press " + config.auto_press + "\n";
  if (!CheckScript("--auto-press", options->script, options->fingers))
    return false;
  options->script_from_input = config.script_path == "-";
  if (options->script_from_input || config.script_path.empty()) return true;
  const auto text = ReadFile(config.script_path);
  if (!text) return IsFaultless(config.script_path, {"cannot be read"});
  options->script += *text;
  return CheckScript(config.script_path, *text, options->fingers);
}

bool Load(const Config& config, ServingOptions* options) {
  options->baud = config.baud;
  options->traces = config.traces;
  options->trace_path = config.trace_path;
  options->link_path = config.link_path;
  return LoadFingers(config, options) && LoadScript(config, options);
}

int Run(int argc, char** argv) {
  Config config;
  CLI::App app("A fingerprint reader on a pseudo-terminal.", kProgram);
  AddOptions(&app, &config);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kExitOk : kExitUsage;
  }
  config.traces = app.count("--trace") > 0;
  ServingOptions options;
  if (!Load(config, &options)) return kExitUsage;
  return Serve(options) ? kExitOk : kExitMisunderstood;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    fprintf(stderr, "%s: %s\n", kProgram, error.what());
    return kExitUsage;
  }
}
