// cx_capdlg: tells the user of a guided enrolment which press is due. Started
// by the driver; talks to it through the prompt channel alone.
#include <unistd.h>

#include <QApplication>
#include <QFontDatabase>
#include <QLocale>
#include <QScreen>
#include <cstdio>
#include <cstring>
#include <thread>

#include "cx_capdlg/palettes.h"
#include "cx_capdlg/prompt_session.h"
#include "cx_capdlg/prompt_window.h"

namespace {

using corvex::PromptSession;
using corvex::PromptWindow;
using corvex::SessionState;

constexpr char kUsage[] =
    "usage: cx_capdlg [number]\n"
    "\n"
    "The prompt window of a guided enrolment. The driver starts it; by hand "
    "it\n"
    "ends at once, because no driver has opened the prompt channel. The "
    "number\n"
    "is what the driver passes; it has no meaning.\n"
    "\n"
    "CX_CAPDLG_PALETTE=light or =dark  instead of the desktop's colours\n";

constexpr int kExitFailed = 1;

// The end of this program is what the driver takes for "the user has
// cancelled". Where no window can be opened the program stays, unseen, and the
// enrolment goes on.
void SitOut() {
  PromptSession session([](const smo_data_t&) {});
  while (session.Poll() == SessionState::kOpen) {
    std::this_thread::sleep_for(PromptSession::kPollPause);
  }
}

// A fatal message is Qt's way to say that there is no display; it would abort
// the program. Warnings are for Qt's developers, and this is the host's error
// stream.
void OnMessage(QtMsgType type, const QMessageLogContext&,
               const QString& message) {
  if (type != QtCriticalMsg && type != QtFatalMsg) return;
  fprintf(stderr, "cx_capdlg: %s\n", qPrintable(message));
  if (type != QtFatalMsg) return;
  fputs("cx_capdlg: no window; the enrolment goes on without one\n", stderr);
  SitOut();
  _exit(kExitFailed);
}

void ChooseFont() {
  QFont font = QApplication::font();
  font.setFamilies({"Noto Sans CJK SC", "Source Han Sans SC",
                    "WenQuanYi Micro Hei", "WenQuanYi Zen Hei", font.family()});
  QApplication::setFont(font);
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
  const QStringList families =
      QFontDatabase::families(QFontDatabase::SimplifiedChinese);
#else
  const QStringList families =
      QFontDatabase().families(QFontDatabase::SimplifiedChinese);
#endif
  if (families.isEmpty()) {
    fputs("cx_capdlg: no font with Chinese characters is installed\n", stderr);
  }
}

int ShowWindow() {
  const QRect screen = QApplication::primaryScreen()->availableGeometry();
  PromptWindow window(corvex::ScaleFor(screen.size()));
  window.move(screen.center() - window.rect().center());
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
  if (!corvex::OwnerWatch().Found()) {
    fputs("cx_capdlg: no driver has opened the prompt channel\n", stderr);
    return kExitFailed;
  }
  qInstallMessageHandler(OnMessage);
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
  QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
#endif
  QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::China));
  QApplication app(argc, argv);
  corvex::ApplyPalette();
  ChooseFont();
  return ShowWindow();
}
