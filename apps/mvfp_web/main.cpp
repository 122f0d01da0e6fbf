// mvfp-web: lets web pages use the fingerprint reader of this machine.
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <list>
#include <memory>
#include <utility>

#include "mvfp_web/check.h"
#include "mvfp_web/gate.h"
#include "mvfp_web/page.h"

namespace {

using corvex::mvfp_web::CheckService;
using corvex::mvfp_web::Desk;
using corvex::mvfp_web::Gate;
using corvex::mvfp_web::Page;
using corvex::mvfp_web::ReadSettings;
using corvex::mvfp_web::Settings;

constexpr int kExitUnwell = 1;
constexpr int kExitFailed = 4;
constexpr size_t kMostPages = 32;

// Pages and their calls. A page that leaves is deleted when its own signal has
// been handled.
class Service {
 public:
  explicit Service(const Settings& settings)
      : settings_(settings),
        gate_(settings, [this](std::unique_ptr<QWebSocket> socket) {
          Welcome(std::move(socket));
        }) {}

  QString Listen() { return gate_.Listen(); }

  void Close() {
    desk_.Close([] { QCoreApplication::exit(); });
  }

 private:
  void Welcome(std::unique_ptr<QWebSocket> socket) {
    if (pages_.size() >= kMostPages) {
      socket->close(QWebSocketProtocol::CloseCodePolicyViolated,
                    "too many pages");
      socket.release()->deleteLater();
      return;
    }
    pages_.push_back(std::make_unique<Page>(
        std::move(socket), settings_, &desk_, [this](Page* page) {
          const auto is_it = [page](const auto& p) { return p.get() == page; };
          const auto found = std::find_if(pages_.begin(), pages_.end(), is_it);
          found->release()->deleteLater();
          pages_.erase(found);
        }));
  }

  const Settings& settings_;
  Desk desk_;
  Gate gate_;
  std::list<std::unique_ptr<Page>> pages_;
};

// SIGTERM and SIGINT, as something that the event loop can wait for.
int TakeSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGINT);
  sigprocmask(SIG_BLOCK, &set, nullptr);
  return signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

// What a crash leaves behind would hold records.
void LeaveNoCore() {
  const rlimit none{};
  setrlimit(RLIMIT_CORE, &none);
}

}  // namespace

int main(int argc, char** argv) {
  LeaveNoCore();
  Settings settings;
  int exit_code = 0;
  if (!ReadSettings(argc, argv, &settings, &exit_code)) return exit_code;
  const int signals = TakeSignals();
  QCoreApplication app(argc, argv);
  if (settings.check) return CheckService(settings) ? 0 : kExitUnwell;
  Service service(settings);
  const QString trouble = service.Listen();
  if (!trouble.isEmpty()) {
    fprintf(stderr, "mvfp-web: %s\n", qPrintable(trouble));
    return kExitFailed;
  }
  QSocketNotifier ending(signals, QSocketNotifier::Read);
  QObject::connect(&ending, &QSocketNotifier::activated, [&] {
    signalfd_siginfo info;
    if (read(signals, &info, sizeof info) == sizeof info) service.Close();
  });
  fprintf(stderr, "mvfp-web: port %d, %d allowed origins\n", settings.port,
          static_cast<int>(settings.origins.size()));
  return QCoreApplication::exec();
}
