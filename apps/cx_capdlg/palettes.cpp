#include "cx_capdlg/palettes.h"

#include <QApplication>
#include <QStyleFactory>

namespace corvex {
namespace {

QColor Mix(const QColor& a, const QColor& b, double share_of_b) {
  const auto mix = [&](int x, int y) {
    return static_cast<int>(x + (y - x) * share_of_b);
  };
  return {mix(a.red(), b.red()), mix(a.green(), b.green()),
          mix(a.blue(), b.blue())};
}

QPalette MakePalette(const QColor& window, const QColor& text,
                     const QColor& button) {
  QPalette palette(button, window);
  for (const auto role : {QPalette::WindowText, QPalette::Text,
                          QPalette::ButtonText, QPalette::BrightText}) {
    palette.setColor(role, text);
  }
  palette.setColor(QPalette::Base, window);
  return palette;
}

}  // namespace

void ApplyPalette() {
  const QByteArray wanted = qgetenv("CX_CAPDLG_PALETTE");
  const bool dark = wanted == "dark";
  if (!dark && wanted != "light") return;
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  QApplication::setPalette(
      dark ? MakePalette(QColor(0x1E, 0x22, 0x28), QColor(0xF2, 0xF4, 0xF7),
                         QColor(0x33, 0x39, 0x42))
           : MakePalette(QColor(0xF6, 0xF8, 0xFA), QColor(0x1B, 0x22, 0x2C),
                         QColor(0xFF, 0xFF, 0xFF)));
}

bool IsDark(const QPalette& palette) {
  return palette.color(QPalette::Window).lightness() <
         palette.color(QPalette::WindowText).lightness();
}

QColor AccentColour(const QPalette& palette) {
  return IsDark(palette) ? QColor(0x5A, 0xA9, 0xFF) : QColor(0x0B, 0x62, 0xC4);
}

QColor DoneColour(const QPalette& palette) {
  return IsDark(palette) ? QColor(0x4F, 0xC9, 0x86) : QColor(0x16, 0x7F, 0x4B);
}

QColor CardColour(const QPalette& palette) {
  const QColor window = palette.color(QPalette::Window);
  return IsDark(palette) ? Mix(window, Qt::white, 0.06) : QColor(Qt::white);
}

QColor FaintColour(const QPalette& palette) {
  return Mix(palette.color(QPalette::Window),
             palette.color(QPalette::WindowText), 0.20);
}

QColor SecondaryColour(const QPalette& palette) {
  return Mix(palette.color(QPalette::Window),
             palette.color(QPalette::WindowText), 0.72);
}

}  // namespace corvex
