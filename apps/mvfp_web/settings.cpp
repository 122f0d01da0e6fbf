#include "mvfp_web/settings.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <QUrl>
#include <filesystem>
#include <vector>

namespace corvex::mvfp_web {
namespace {

constexpr int kExitUsage = 2;
constexpr char kConfig[] = "/etc/mv-fpi/web.conf";

constexpr char kMore[] =
    R"(Listens on 127.0.0.1 and ::1 alone, and serves those web pages alone whose
origin is listed. The configuration file, /etc/mv-fpi/web.conf, takes the long
options by their names; what is given by hand counts instead of its line there.

  allow-origin = https://counter.bank.example
  reader = ttyUSB0

SIGTERM ends the calls that run, and then the service: within a second the
reader is free.

Exit codes:
  0  ended by SIGTERM or SIGINT; with --check: all is well
  1  with --check: something is wrong
  2  bad option or configuration file
  4  the port cannot be bound

Examples:
  mvfp-web --check
  mvfp-web --allow-origin http://localhost:8080 --reader ttyUSB0
  systemctl --user enable --now mv-fpi-web
)";

// What a list in the file may hold, as lines or as words of one line.
struct Given {
  std::vector<std::string> origins;
  std::string reader;
  std::string box;
  std::string gallery;
};

void AddOptions(CLI::App* app, Settings* settings, Given* given) {
  app->set_version_flag("--version", "mvfp-web " MVFP_WEB_VERSION);
  app->set_config("--config", kConfig, "Configuration file");
  app->allow_config_extras(CLI::config_extras_mode::error);
  app->add_option("--allow-origin", given->origins,
                  "Serve pages of this origin, see below")
      ->check(TroubleWithOrigin)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->type_name("ORIGIN");
  app->add_option("--port", settings->port, "TCP port to listen on [47653]")
      ->check(CLI::Range(1, 65535))
      ->type_name("NUMBER");
  app->add_option("--reader", given->reader,
                  "The reader's serial port, such as ttyUSB0")
      ->envname("MVFP_PORT")
      ->type_name("PORT");
  app->add_option("--box", given->box,
                  "Branch of the switch box before the reader")
      ->check(CLI::IsMember({"A", "B", "C", "K"}))
      ->type_name("LETTER");
  app->add_flag("--check", settings->check,
                "Start nothing; knock at the running service");
  app->add_option("--gallery", given->gallery,
                  "Let pages search this gallery of mvfp")
      ->type_name("FILE");
}

bool Refuse(const std::string& what) {
  fprintf(stderr, "mvfp-web: %s\n", what.c_str());
  return false;
}

// The parser takes a file that it cannot read for one that is not there.
bool IsReadable(const std::string& config) {
  std::error_code error;
  return !std::filesystem::exists(config, error) ||
         access(config.c_str(), R_OK) == 0;
}

}  // namespace

std::string TroubleWithOrigin(const std::string& origin) {
  const auto trouble = [&](const std::string& why) {
    return "\"" + origin + "\" is no origin: " + why;
  };
  const QString text = QString::fromStdString(origin);
  const QUrl url(text, QUrl::StrictMode);
  const bool is_web = url.scheme() == "https" || url.scheme() == "http";
  if (origin == "null") {
    return trouble("pages from files all have it; serve the page instead");
  }
  if (origin.find('*') != std::string::npos) {
    return trouble("each must be listed by itself, without *");
  }
  if (!url.isValid() || !is_web || url.host().isEmpty()) {
    return trouble("write https://NAME or https://NAME:PORT");
  }
  const int usual = url.scheme() == "https" ? 443 : 80;
  QString wanted =
      url.scheme() + "://" + url.host(QUrl::FullyEncoded).toLower();
  if (url.host().contains(':')) {
    wanted = url.scheme() + "://[" + url.host() + "]";
  }
  if (url.port(usual) != usual) wanted += ":" + QString::number(url.port());
  return wanted == text ? "" : trouble("browsers send " + wanted.toStdString());
}

bool ReadSettings(int argc, char** argv, Settings* settings, int* exit_code) {
  CLI::App app("Lets web pages use the fingerprint reader.", "mvfp-web");
  app.footer(kMore);
  Given given;
  AddOptions(&app, settings, &given);
  *exit_code = kExitUsage;
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& request) {
    *exit_code = app.exit(request);
    return false;
  } catch (const CLI::ParseError& error) {
    return Refuse(error.what());
  }
  const std::string config = app.get_config_ptr()->as<std::string>();
  if (!IsReadable(config)) return Refuse("cannot read " + config);
  for (const std::string& origin : given.origins) {
    settings->origins.append(QString::fromStdString(origin));
  }
  settings->reader = QString::fromStdString(given.reader);
  settings->box = QString::fromStdString(given.box);
  settings->gallery = QString::fromStdString(given.gallery);
  return true;
}

}  // namespace corvex::mvfp_web
