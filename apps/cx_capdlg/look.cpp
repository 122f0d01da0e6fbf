#include "cx_capdlg/look.h"

#include <QApplication>
#include <QPalette>
#include <QRegularExpression>
#include <QStyle>
#include <QVariant>
#include <QWidget>
#include <algorithm>

namespace corvex {
namespace {

constexpr struct {
  const char* name;
  const char* light;
  const char* dark;
} kColours[] = {
    {"ground", "#F6F8FA", "#1E2228"},  // only where it is asked for
    {"text", "#1B222C", "#F2F4F7"},    // only where it is asked for
    {"quiet", "#585E66", "#B7BABD"},   // less important text
    {"faint", "#CACDD1", "#484C51"},   // lines and tracks
    {"card", "#FFFFFF", "#2B2F34"},    // behind the picture, on the button
    {"due", "#0B62C4", "#5AA9FF"},    {"done", "#167F4B", "#4FC986"},
    {"urgent", "#C63D12", "#FF8A65"},  // time that runs out
    {"mark", "#FFFFFF", "#10141A"},    // on one of these three
};

// "@name" is a colour; measures suit a screen of 1024 x 600.
constexpr char kStyleSheet[] = R"(
* {
  font-family: "Noto Sans CJK SC", "Source Han Sans SC", "WenQuanYi Micro Hei",
    "WenQuanYi Zen Hei", "sans-serif";
  font-size: 18px;
}
#text { font-weight: bold; }
#hint, #time, #note { color: @quiet; }
#time[state="urgent"] { color: @urgent; }
#finger, QPushButton { background: @card; border: 2px solid @faint; }
#finger { border-radius: 14px; }
#badge {
  border: 2px solid @faint; border-radius: 18px;
  font-weight: bold; color: @quiet;
}
#badge[state="due"], #badge[state="done"] { border: none; color: @mark; }
#badge[state="due"] { background: @due; }
#badge[state="done"] { background: @done; font-size: 22px; }
#line { background: @faint; min-height: 3px; max-height: 3px; }
#line[state="done"] { background: @done; }
#note { font-size: 16px; }
#caption { font-size: 16px; color: @quiet; }
#caption[state="due"] { font-weight: bold; color: palette(window-text); }
QProgressBar {
  background: @faint; border: none; border-radius: 4px;
  min-height: 8px; max-height: 8px;
}
QProgressBar::chunk { background: @due; border-radius: 4px; }
QProgressBar[state="urgent"]::chunk { background: @urgent; }
QPushButton {
  border-radius: 8px; min-width: 156px; min-height: 48px;
  font-size: 20px; color: palette(window-text);
}
QPushButton:focus { border-color: @due; }
QPushButton:pressed { background: @faint; }
)";

// Half of what the screen has to spare, and never more than fits it with a
// window manager's frame.
double ScaleFor(const QSize& screen) {
  const double room =
      std::min(screen.width() / 1024.0, screen.height() / 600.0);
  const double most = std::min(screen.width() / 720.0, screen.height() / 450.0);
  return std::min(most, std::clamp(1 + (room - 1) / 2, 0.6, 2.5));
}

}  // namespace

Look::Look(const QSize& screen) : scale_(ScaleFor(screen)) {
  QPalette palette = QApplication::palette();
  dark_ = palette.color(QPalette::Window).lightness() <
          palette.color(QPalette::WindowText).lightness();
  const QByteArray wanted = qgetenv("CX_CAPDLG_PALETTE");
  if (wanted != "dark" && wanted != "light") return;
  dark_ = wanted == "dark";
  palette.setColor(QPalette::Window, Colour("ground"));
  palette.setColor(QPalette::WindowText, Colour("text"));
  QApplication::setPalette(palette);
}

int Look::Px(int measure) const {
  return std::max(1, static_cast<int>(measure * scale_));
}

QColor Look::Colour(const QString& name) const {
  for (const auto& colour : kColours) {
    if (name == colour.name) return dark_ ? colour.dark : colour.light;
  }
  return {};
}

QString Look::StyleSheet() const {
  const QString source = kStyleSheet;
  QString sheet;
  decltype(source.size()) end = 0;
  auto tokens = QRegularExpression("@(\\w+)|\\d+(?=px)").globalMatch(source);
  while (tokens.hasNext()) {
    const auto token = tokens.next();
    sheet += source.mid(end, token.capturedStart() - end);
    sheet += token.captured(1).isEmpty()
                 ? QString::number(Px(token.captured().toInt()))
                 : Colour(token.captured(1)).name();
    end = token.capturedEnd();
  }
  return sheet + source.mid(end);
}

void Look::SetState(QWidget* part, const char* state) {
  part->setProperty("state", state);
  part->style()->unpolish(part);
  part->style()->polish(part);
}

}  // namespace corvex
