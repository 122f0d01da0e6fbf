// The command line: which subcommands there are, and the one that was chosen.
#ifndef APPS_MVFP_COMMAND_LINE_H_
#define APPS_MVFP_COMMAND_LINE_H_

#include <functional>
#include <memory>
#include <string>

#include "arguments.h"
#include "report.h"

namespace corvex::mvfp {

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
