// The command line: which subcommands there are, what they take, and the one
// that was chosen. The library that reads the line costs the compiler seconds
// in every file that includes it: only command_line.cpp does.
#ifndef APPS_MVFP_COMMAND_LINE_H_
#define APPS_MVFP_COMMAND_LINE_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "report.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace corvex::mvfp {

// An option or an argument, to be told more about.
class Argument {
 public:
  explicit Argument(CLI::Option* option) : option_(option) {}

  // What the help calls its value.
  Argument Named(const std::string& value) const;
  // The variable of the environment that stands in for it.
  Argument OrFrom(const std::string& variable) const;
  Argument OneOf(const std::vector<std::string>& values) const;
  // `problem` says what is wrong with a value; "" when nothing is.
  Argument Checked(std::string (*problem)(const std::string& value)) const;
  Argument Required() const;
  Argument Needs(const Argument& other) const;
  Argument Excludes(const Argument& other) const;

 private:
  CLI::Option* option_;
};

// The options and arguments of a command. Names as "-p,--port", or as "RECORD"
// for an argument; what is read goes to `value`, which outlives the parsing.
class Arguments {
 public:
  explicit Arguments(CLI::App* command) : command_(command) {}

  Argument Text(const std::string& names, std::string* value,
                const std::string& help) const;
  Argument Number(const std::string& names, int* value, int lowest, int highest,
                  const std::string& help) const;
  Argument Flag(const std::string& names, bool* value,
                const std::string& help) const;

 private:
  CLI::App* command_;
};

// What a command says to --help; `more` stands below its options.
struct Help {
  const char* name;
  const char* summary;
  const char* more;
};

// A command on the line, and where its options go when they are read.
template <typename Options>
struct Command {
  Arguments arguments;
  Options* options;
};

struct NoOptions {};

class CommandLine {
 public:
  explicit CommandLine(const Help& help);
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // `run` prints the command's result and returns the exit code, or throws a
  // Failure. The caller names the options to the returned `arguments`.
  template <typename Options>
  Command<Options> Add(const Help& help,
                       int (*run)(const Report& report, const Options& options),
                       CLI::App* parent = nullptr) {
    const auto options = std::make_shared<Options>();
    const Arguments arguments = AddAction(
        parent == nullptr ? app_.get() : parent, help,
        [options, run](const Report& report) { return run(report, *options); });
    return {arguments, options.get()};
  }

  // A command that is followed by one of its own: their parent.
  CLI::App* AddGroup(const Help& help);

  // Parses, runs, reports. Returns the exit code, and does not return where a
  // signal asked for the end.
  int Run(int argc, char** argv);

 private:
  using Action = std::function<int(const Report& report)>;

  Arguments AddAction(CLI::App* parent, const Help& help, const Action& action);

  const std::unique_ptr<CLI::App> app_;
  bool json_ = false;
  Action chosen_;
};

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_COMMAND_LINE_H_
