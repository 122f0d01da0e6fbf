// mvfp-vreader: a fingerprint reader on a pseudo-terminal.
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>

#include "virtual_reader/fingers.h"
#include "virtual_reader/script.h"
#include "virtual_reader/virtual_reader.h"

namespace corvex::vreader {
namespace {

constexpr char kProgram[] = "mvfp-vreader";

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
  std::string trace_path;  // empty: standard error
  std::string link_path;
};

constexpr char kFooter[] = R"(
The port's name is printed on one line of standard output when the reader can
be used; it is the name below /dev that the driver's functions take. Every
capture of the finger of --auto-press is a new impression of it. A file of
--records has a record a line, in hexadecimal or Base64, or four columns with
tabs between them: database, finger, impression, record.

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
                  "Fingers from a file, instead of synthetic ones")
      ->type_name("FILE");
  app->add_option("--script", config->script_path,
                  "What happens to the reader; - for standard input")
      ->type_name("FILE|-");
  app->add_option("--auto-press", config->auto_press,
                  "Which finger lies on the sensor at first")
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

void Complain(const std::string& problem, const std::string& where = "") {
  fprintf(stderr, "%s: %s%s\n", kProgram, where.c_str(), problem.c_str());
}

[[noreturn]] void FailFor(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  file.peek();  // a directory shows itself only now
  if (!file.is_open() || file.bad()) {
    throw std::runtime_error(path + ": cannot be read");
  }
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// Ends the program, which has begun nothing yet, when a file has errors.
void Require(const std::string& path, const std::vector<std::string>& errors) {
  for (const std::string& error : errors) Complain(error, path + ": ");
  if (!errors.empty()) exit(kExitUsage);
}

FingerBook LoadFingers(const std::string& path) {
  if (path.empty()) return FingerBook();
  const auto records = ParseRecords(ReadFile(path));
  Require(path, records.errors);
  return records.book;
}

std::string LoadScript(const Config& config, const FingerBook& fingers) {
  std::string script;
  if (!config.auto_press.empty()) {
    script = "press " + config.auto_press + "\n";
    Require("--auto-press", ParseScript(script, fingers).errors);
  }
  if (config.script_path == "-" || config.script_path.empty()) return script;
  const std::string text = ReadFile(config.script_path);
  Require(config.script_path, ParseScript(text, fingers).errors);
  return script + text;
}

// Before any thread starts, so that all of them inherit it.
int BlockEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signalfd(-1, &signals, SFD_CLOEXEC);
}

// Writes all traffic until the program ends; null when that is not wanted.
std::function<void(const Transfer&)> OpenTrace(const Config& config) {
  if (!config.traces) return nullptr;
  const char* const path = config.trace_path.c_str();
  FILE* const trace = *path == '\0' ? stderr : fopen(path, "we");
  if (trace == nullptr) FailFor(path);
  return [trace](const Transfer& transfer) {
    const bool to_host = transfer.direction == Transfer::Direction::kToHost;
    fprintf(trace, "%11.6f %s %s\n",
            static_cast<double>(transfer.time.count()) / 1e6,
            to_host ? "reply  " : "request", Printable(transfer.text).c_str());
    fflush(trace);
  };
}

// A link that an earlier run left behind may go; anything else is kept.
void MakeLink(const std::string& path, const std::string& port_name) {
  struct stat old {};
  if (lstat(path.c_str(), &old) == 0 && S_ISLNK(old.st_mode)) {
    unlink(path.c_str());
  }
  if (symlink(("/dev/" + port_name).c_str(), path.c_str()) != 0) FailFor(path);
}

bool RunLine(const std::string& line, int number, VirtualReader* reader) {
  try {
    reader->Run(line, number);
    return true;
  } catch (const std::invalid_argument& error) {
    Complain(error.what(), "standard input: ");
    return false;
  }
}

// Runs script lines as they come from `input`, if that is not negative. False
// when one was in error.
bool WaitForEnd(int signals, int input, VirtualReader* reader) {
  bool good = true;
  std::string text;  // of a line that is not whole yet
  int number = 0;
  while (true) {
    pollfd fds[] = {{signals, POLLIN, 0}, {input, POLLIN, 0}};
    poll(fds, std::size(fds), -1);
    if (fds[0].revents != 0) return good;
    if (fds[1].revents == 0) continue;
    char buffer[4096];
    const ssize_t n = read(input, buffer, sizeof buffer);
    if (n > 0) {
      text.append(buffer, static_cast<size_t>(n));
    } else {
      input = -1;
      text += '\n';
    }
    for (size_t end; (end = text.find('\n')) != std::string::npos;) {
      good = RunLine(text.substr(0, end), ++number, reader) && good;
      text.erase(0, end + 1);
    }
  }
}

// Serves until the script says quit or unplug, or SIGINT or SIGTERM comes.
ExitCode Serve(const Config& config) {
  Options options;
  options.baud = config.baud;
  options.fingers = LoadFingers(config.records_path);
  const std::string script = LoadScript(config, options.fingers);
  const Descriptor signals(BlockEndSignals());
  if (signals.Get() < 0) FailFor("signals");
  options.keeps_trace = false;  // it would grow for days
  options.on_transfer = OpenTrace(config);
  size_t reported = 0;
  options.on_error = [&](const std::string& error) {
    ++reported;
    Complain(error);
  };
  options.on_end = [] { kill(getpid(), SIGTERM); };
  VirtualReader reader(options);
  if (!config.link_path.empty()) MakeLink(config.link_path, reader.PortName());
  reader.Run(script);

  puts(reader.PortName().c_str());
  fflush(stdout);
  const int input = config.script_path == "-" ? STDIN_FILENO : -1;
  const bool good = WaitForEnd(signals.Get(), input, &reader);
  // A request may be on its way still.
  const auto errors = reader.Errors();
  for (; reported < errors.size(); ++reported) Complain(errors[reported]);
  if (!config.link_path.empty()) unlink(config.link_path.c_str());
  return good && errors.empty() ? kExitOk : kExitMisunderstood;
}

}  // namespace

int Main(int argc, char** argv) {
  Config config;
  CLI::App app("A fingerprint reader on a pseudo-terminal.", kProgram);
  AddOptions(&app, &config);
  try {
    app.parse(argc, argv);
    config.traces = app.count("--trace") > 0;
    return Serve(config);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kExitOk : kExitUsage;
  }
}

}  // namespace corvex::vreader

int main(int argc, char** argv) {
  try {
    return corvex::vreader::Main(argc, argv);
  } catch (const std::exception& error) {
    corvex::vreader::Complain(error.what());
    return corvex::vreader::kExitUsage;
  }
}
