#include "command_line.h"

#include <exception>

#include "calls/device_call.h"

namespace corvex::mvfp {
namespace {

// Parsing stopped before it saw every option, so --json is looked for by hand.
bool AsksForJson(int argc, char** argv) {
  return std::find(argv, argv + argc, std::string("--json")) != argv + argc;
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

void AddJsonFlag(CLI::App* app, bool* json) {
  app->add_flag("--json", *json, "Print one JSON object, for failures too");
}

}  // namespace

CommandLine::CommandLine(const Help& help) : app_(help.summary, help.name) {
  app_.set_version_flag("--version", "mvfp " MVFP_VERSION);
  app_.footer(help.more);
  app_.require_subcommand(1);
  AddJsonFlag(&app_, &json_);
}

CLI::App* CommandLine::AddGroup(const Help& help) {
  CLI::App* const group = app_.add_subcommand(help.name, help.summary);
  group->footer(help.more);
  group->require_subcommand(1);
  return group;
}

CLI::App* CommandLine::AddAction(CLI::App* parent, const Help& help,
                                 const Action& action) {
  CLI::App* const app = parent->add_subcommand(help.name, help.summary);
  app->footer(help.more);
  AddJsonFlag(app, &json_);
  app->callback([this, action] { chosen_ = action; });
  return app;
}

int CommandLine::Run(int argc, char** argv) {
  try {
    app_.parse(argc, argv);
  } catch (const CLI::Success& request) {
    return app_.exit(request);
  } catch (const CLI::ParseError& error) {
    const std::string path = PathOf(&app_);
    return Report(path.substr(path.find(' ') + 1), AsksForJson(argc, argv))
        .Failed(UsageFailure(error.what(), "see: " + path + " --help"));
  }
  const Report report(PathOf(&app_).substr(sizeof "mvfp"), json_);
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
