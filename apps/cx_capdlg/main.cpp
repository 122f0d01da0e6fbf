// cx_capdlg: tells the user of a guided enrolment which press is due. Started
// by the driver; talks to it through the prompt channel alone.
#include <unistd.h>

#include <QApplication>
#include <QFontMetrics>
#include <QScreen>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include "cx_capdlg/prompt_session.h"
#include "cx_capdlg/prompt_window.h"
#include "cx_capdlg/words.h"

namespace {

using corvex::PromptSession;
using corvex::SessionState;

constexpr char kUsage[] = R"(usage: cx_capdlg [number]

The prompt window of a guided enrolment. The driver starts it; by hand it
ends at once, because no driver has opened the prompt channel. The number
is what the driver passes; it has no meaning.

It speaks Chinese, or English where the locale names another language or no
font has Chinese characters.

CX_CAPDLG_PALETTE=light or =dark  instead of the desktop's colours
)";

constexpr int kExitFailed = 1;

// The end of this program is what the driver takes for "the user has
// cancelled". Where no window can be opened the program stays, unseen, and the
// enrolment goes on.
void SitOut() {
  PromptSession session;
  while (session.Poll([](const smo_data_t&) {}) == SessionState::kOpen) {
    std::this_thread::sleep_for(PromptSession::kPollPause);
  }
}

std::string DisplayFault() {
  for (const char* const name : {"WAYLAND_DISPLAY", "DISPLAY"}) {
    const std::string display = qgetenv(name).toStdString();
    if (!display.empty()) return "cannot open the display " + display;
  }
  return "there is no display: neither DISPLAY nor WAYLAND_DISPLAY is set";
}

// A fatal message is Qt's way to say that there is no display, with advice to
// reinstall; it would abort the program. Warnings are for Qt's developers, and
// this is the host's error stream.
void OnMessage(QtMsgType type, const QMessageLogContext&,
               const QString& message) {
  if (type == QtCriticalMsg) {
    fprintf(stderr, "cx_capdlg: %s\n", qPrintable(message));
  }
  if (type != QtFatalMsg) return;
  fprintf(stderr, "cx_capdlg: %s; the enrolment goes on without its window\n",
          DisplayFault().c_str());
  SitOut();
  _exit(kExitFailed);
}

int ShowWindow(PromptSession* session) {
  const corvex::Words& words = corvex::WordsForUser(
      QFontMetrics(QApplication::font()).inFont(QChar(0x8BF7)));
  if (*words.note != '\0') fprintf(stderr, "cx_capdlg: %s\n", words.note);
  corvex::PromptWindow window(
      session, QApplication::primaryScreen()->availableGeometry(), words);
  window.show();
  window.raise();
  window.activateWindow();
  return QApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && strcmp(argv[1], "--help") == 0) {
    fputs(kUsage, stdout);
    return 0;
  }
  PromptSession session;
  if (!session.Found()) {
    fputs("cx_capdlg: no driver has opened the prompt channel\n", stderr);
    return kExitFailed;
  }
  qInstallMessageHandler(OnMessage);
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
  // Later ones do so by themselves.
  QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
  QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
#endif
  QApplication app(argc, argv);
  return ShowWindow(&session);
}
