#include "cx_capdlg/time_bar.h"

#include <QPainter>

#include "cx_capdlg/palettes.h"

namespace corvex {
namespace {

constexpr int kUrgentSeconds = 5;
constexpr double kTextHeight = 28;
constexpr double kBarTop = 34;
constexpr double kBarHeight = 8;

QColor BarColour(const QPalette& palette, int left_s) {
  if (left_s > kUrgentSeconds) return AccentColour(palette);
  return IsDark(palette) ? QColor(0xFF, 0x8A, 0x65) : QColor(0xC6, 0x3D, 0x12);
}

}  // namespace

TimeBar::TimeBar(double scale, int total_s, QWidget* parent)
    : QWidget(parent), scale_(scale), total_s_(total_s) {
  setFixedHeight(static_cast<int>((kBarTop + kBarHeight + 2) * scale));
  SetLeft(total_s);
}

void TimeBar::SetLeft(int seconds) {
  if (seconds == left_s_) return;
  left_s_ = seconds;
  setAccessibleName(QString("剩余时间 %1 秒").arg(seconds));
  update();
}

void TimeBar::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  QFont text = font();
  text.setPixelSize(static_cast<int>(18 * scale_));
  painter.setFont(text);
  painter.setPen(left_s_ > kUrgentSeconds ? SecondaryColour(palette())
                                          : BarColour(palette(), left_s_));
  painter.drawText(QRectF(0, 0, width(), kTextHeight * scale_),
                   Qt::AlignLeft | Qt::AlignVCenter,
                   QString("剩余时间 %1 秒").arg(left_s_));
  const double radius = kBarHeight / 2 * scale_;
  QRectF bar(0, kBarTop * scale_, width(), kBarHeight * scale_);
  painter.setPen(Qt::NoPen);
  painter.setBrush(FaintColour(palette()));
  painter.drawRoundedRect(bar, radius, radius);
  if (left_s_ <= 0) return;
  bar.setWidth(std::max(2 * radius, bar.width() * left_s_ / total_s_));
  painter.setBrush(BarColour(palette(), left_s_));
  painter.drawRoundedRect(bar, radius, radius);
}

}  // namespace corvex
