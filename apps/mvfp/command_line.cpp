#include "command_line.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <nlohmann/json.hpp>

#include "calls/device_call.h"

namespace corvex::mvfp {
namespace {

// Parsing stopped before it saw every option, so --json is looked for by hand.
bool AsksForJson(const std::vector<std::string>& words) {
  return std::find(words.begin(), words.end(), "--json") != words.end();
}

// "mvfp log follow", as far as it was understood.
std::string PathOf(const CLI::App* app) {
  std::string path = app->get_name();
  while (!app->get_subcommands().empty()) {
    app = app->get_subcommands().back();
    path += " " + app->get_name();
  }
  return path;
}

// The command that was meant, as far as it was understood.
const CLI::App* LastOf(const CLI::App* app) {
  while (!app->get_subcommands().empty()) app = app->get_subcommands().back();
  return app;
}

// "--port, --box": the names of commands or options, with commas.
template <typename Items>
std::string Names(const Items& items) {
  std::string names;
  for (const auto* item : items) {
    names += (names.empty() ? "" : ", ") + item->get_name();
  }
  return names;
}

// The library takes a word that is no command for one argument too many, and
// answers --help before it looks.
std::string UnknownCommand(const CLI::App& top,
                           const std::vector<std::string>& words,
                           std::string* path) {
  const CLI::App* app = &top;
  *path = app->get_name();
  for (const std::string& word : words) {
    const auto commands = app->get_subcommands({});
    if (commands.empty()) break;
    if (word.rfind('-', 0) == 0) continue;
    const auto found = std::find_if(
        commands.begin(), commands.end(),
        [&](const CLI::App* command) { return command->get_name() == word; });
    if (found == commands.end()) {
      return *path + " has no command \"" + word + "\"; it has " +
             Names(commands);
    }
    app = *found;
    *path += " " + word;
  }
  return "";
}

std::string WhatIsWrong(const CLI::App& top, const CLI::ParseError& error) {
  const CLI::App* const app = LastOf(&top);
  const std::vector<std::string> extras = top.remaining(true);
  // Before what it left undone: it may be meant for what is missing.
  if (!extras.empty() && extras.front().rfind('-', 0) == 0) {
    return "no option " + extras.front() +
           "; the options: " + Names(app->get_options());
  }
  const auto code = static_cast<CLI::ExitCodes>(error.get_exit_code());
  if (extras.empty() || code != CLI::ExitCodes::ExtrasError) {
    return app->get_subcommands({}).empty() ? error.what() : "no command given";
  }
  return "one argument too many: \"" + extras.front() + "\"";
}

// "mvfp help log" asks for what "mvfp log --help" prints.
std::vector<std::string> WordsOf(int argc, char** argv) {
  std::vector<std::string> words(argv + 1, argv + argc);
  if (!words.empty() && words.front() == "help") {
    words.erase(words.begin());
    words.emplace_back("--help");
  }
  return words;
}

void AddJsonFlag(CLI::App* app, bool* json) {
  app->add_flag("--json", *json, "Print one JSON object, for failures too");
}

}  // namespace

Argument Argument::Named(const std::string& value) const {
  return Argument(option_->type_name(value));
}

Argument Argument::OrFrom(const std::string& variable) const {
  return Argument(option_->envname(variable));
}

Argument Argument::OneOf(const std::vector<std::string>& values) const {
  return Argument(option_->check(CLI::IsMember(values)));
}

Argument Argument::Checked(
    std::string (*problem)(const std::string& value)) const {
  return Argument(option_->check(problem));
}

Argument Argument::Required() const { return Argument(option_->required()); }

Argument Argument::Needs(const Argument& other) const {
  return Argument(option_->needs(other.option_));
}

Argument Argument::Excludes(const Argument& other) const {
  return Argument(option_->excludes(other.option_));
}

Argument Arguments::Text(const std::string& names, std::string* value,
                         const std::string& help) const {
  return Argument(command_->add_option(names, *value, help));
}

Argument Arguments::Number(const std::string& names, int* value, int lowest,
                           int highest, const std::string& help) const {
  return Argument(command_->add_option(names, *value, help)
                      ->check(CLI::Range(lowest, highest)));
}

Argument Arguments::Flag(const std::string& names, bool* value,
                         const std::string& help) const {
  return Argument(command_->add_flag(names, *value, help));
}

CommandLine::CommandLine(const Help& help)
    : app_(std::make_unique<CLI::App>(help.summary, help.name)) {
  app_->set_version_flag("--version", "mvfp " MVFP_VERSION);
  app_->footer(help.more);
  app_->require_subcommand(1);
  AddJsonFlag(app_.get(), &json_);
}

CommandLine::~CommandLine() = default;

CLI::App* CommandLine::AddGroup(const Help& help) {
  CLI::App* const group = app_->add_subcommand(help.name, help.summary);
  group->footer(help.more);
  group->require_subcommand(1);
  return group;
}

Arguments CommandLine::AddAction(CLI::App* parent, const Help& help,
                                 const Action& action) {
  CLI::App* const app = parent->add_subcommand(help.name, help.summary);
  app->footer(help.more);
  AddJsonFlag(app, &json_);
  app->callback([this, action] { chosen_ = action; });
  return Arguments(app);
}

int CommandLine::Run(int argc, char** argv) {
  std::vector<std::string> words = WordsOf(argc, argv);
  const auto refuse = [&](const std::string& path, const std::string& what) {
    return Report(path.substr(path.find(' ') + 1), AsksForJson(words))
        .Failed(UsageFailure(what, "see: " + path + " --help"));
  };
  std::string path;
  const std::string unknown = UnknownCommand(*app_, words, &path);
  if (!unknown.empty()) return refuse(path, unknown);
  try {
    // The library takes them from the end.
    app_->parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::Success& request) {
    app_->exit(request);
    return Report("", false).Result(Json(), "");
  } catch (const CLI::ParseError& error) {
    return refuse(PathOf(app_.get()), WhatIsWrong(*app_, error));
  }
  const Report report(PathOf(app_.get()).substr(sizeof "mvfp"), json_);
  try {
    return chosen_(report);
  } catch (const Failure& failure) {
    const int exit_code = report.Failed(failure);
    if (failure.signal != 0) EndBySignal(failure.signal);
    return exit_code;
  } catch (const std::exception& error) {
    return report.Failed(
        {std::string("the system refused: ") + error.what(), ""});
  }
}

}  // namespace corvex::mvfp
