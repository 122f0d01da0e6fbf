#include "cx_capdlg/step_bar.h"

#include <QPainter>

#include "cx_capdlg/palettes.h"
#include "cx_capdlg/prompt_text.h"

namespace corvex {
namespace {

constexpr double kRadius = 17;
constexpr double kCaptionTop = 42;
constexpr double kCaptionHeight = 24;
constexpr const char* kCaptions[kPresses] = {"第一次", "第二次", "第三次"};

}  // namespace

StepBar::StepBar(double scale, QWidget* parent)
    : QWidget(parent), scale_(scale) {
  setFixedHeight(static_cast<int>((kCaptionTop + kCaptionHeight) * scale));
  SetCurrent(0);
}

void StepBar::SetCurrent(int press) {
  current_ = press;
  setAccessibleName(
      press == 0 ? QString("共 %1 次按捺").arg(kPresses)
                 : QString("第 %1 次按捺，共 %2 次").arg(press).arg(kPresses));
  update();
}

void StepBar::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  for (int press = 1; press < kPresses; ++press) DrawLine(&painter, press);
  for (int press = 1; press <= kPresses; ++press) DrawStep(&painter, press);
}

QPointF StepBar::Centre(int press) const {
  const double margin = 34 * scale_;
  const double step = (width() - 2 * margin) / (kPresses - 1);
  return {margin + step * (press - 1), (kRadius + 2) * scale_};
}

void StepBar::DrawLine(QPainter* painter, int press) const {
  const bool done = press < current_;
  painter->setPen(
      QPen(done ? DoneColour(palette()) : FaintColour(palette()), 3 * scale_));
  const QPointF gap((kRadius + 6) * scale_, 0);
  painter->drawLine(Centre(press) + gap, Centre(press + 1) - gap);
}

void StepBar::DrawStep(QPainter* painter, int press) const {
  const QPointF centre = Centre(press);
  const double radius = kRadius * scale_;
  const bool done = press < current_;
  const bool due = press == current_;
  const QColor fill = done  ? DoneColour(palette())
                      : due ? AccentColour(palette())
                            : QColor(Qt::transparent);
  painter->setPen(done || due ? QPen(fill, 2 * scale_)
                              : QPen(FaintColour(palette()), 2 * scale_));
  painter->setBrush(fill);
  painter->drawEllipse(centre, radius, radius);

  QFont number = font();
  number.setPixelSize(static_cast<int>(18 * scale_));
  number.setBold(true);
  painter->setFont(number);
  const QColor on_fill =
      IsDark(palette()) ? QColor(0x10, 0x14, 0x1A) : QColor(Qt::white);
  if (done) {
    painter->setPen(
        QPen(on_fill, 3 * scale_, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const double s = scale_;
    const QPointF tick[] = {centre + QPointF(-7 * s, 0.5 * s),
                            centre + QPointF(-2 * s, 5.5 * s),
                            centre + QPointF(7.5 * s, -5 * s)};
    painter->drawPolyline(tick, 3);
  } else {
    painter->setPen(due ? on_fill : SecondaryColour(palette()));
    painter->drawText(QRectF(centre - QPointF(radius, radius),
                             QSizeF(2 * radius, 2 * radius)),
                      Qt::AlignCenter, QString::number(press));
  }

  QFont caption = font();
  caption.setPixelSize(static_cast<int>(16 * scale_));
  caption.setBold(due);
  painter->setFont(caption);
  painter->setPen(due ? palette().color(QPalette::WindowText)
                      : SecondaryColour(palette()));
  painter->drawText(QRectF(centre.x() - 60 * scale_, kCaptionTop * scale_,
                           120 * scale_, kCaptionHeight * scale_),
                    Qt::AlignCenter, QString(kCaptions[press - 1]));
}

}  // namespace corvex
