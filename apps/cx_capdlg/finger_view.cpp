#include "cx_capdlg/finger_view.h"

#include <QPainter>
#include <QPainterPath>

#include "cx_capdlg/palettes.h"
#include "cx_capdlg/picture.h"
#include "cx_capdlg/prompt_text.h"

namespace corvex {
namespace {

constexpr int kRidges = 6;

// The driver's picture is plain white: a size without a content.
bool IsBlank(const QImage& picture) {
  const QImage grey = picture.convertToFormat(QImage::Format_Grayscale8);
  const uchar first = grey.constScanLine(0)[0];
  for (int y = 0; y < grey.height(); ++y) {
    const uchar* const row = grey.constScanLine(y);
    for (int x = 0; x < grey.width(); ++x) {
      if (row[x] != first) return false;
    }
  }
  return true;
}

// Ridge 0 is the innermost: an arch over a pair of legs, open below.
QPainterPath Ridge(const QRectF& area, int ridge) {
  const double share = (ridge + 0.6) / (kRidges - 0.4);
  const double half_width = area.width() / 2 * share;
  const double centre_y = area.top() + area.height() * 0.45;
  const double rise = area.height() * 0.45 * share;
  const double leg = area.height() * (0.55 - 0.065 * ridge);
  const double x = area.center().x();
  QPainterPath path(QPointF(x - half_width, centre_y + leg));
  path.lineTo(x - half_width, centre_y);
  path.cubicTo(x - half_width, centre_y - rise * 1.33, x + half_width,
               centre_y - rise * 1.33, x + half_width, centre_y);
  path.lineTo(x + half_width, centre_y + leg * 0.88);
  return path;
}

}  // namespace

FingerView::FingerView(double scale, QWidget* parent)
    : QWidget(parent), scale_(scale) {
  setFixedWidth(static_cast<int>(184 * scale));
  setAccessibleName("指纹图像");
}

void FingerView::SetPicture(const uint8_t* bmp, int len_bytes) {
  QImage picture;
  if (IsBmp(bmp, static_cast<size_t>(len_bytes))) {
    picture = QImage::fromData(bmp, len_bytes, "BMP");
  }
  picture_ = picture.isNull() || IsBlank(picture) ? QImage() : picture;
  update();
}

void FingerView::SetDone(int presses) {
  if (presses == done_) return;
  done_ = presses;
  update();
}

void FingerView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  const QRectF card = QRectF(rect()).adjusted(1, 1, -1, -1);
  painter.setPen(QPen(FaintColour(palette()), 1.5 * scale_));
  painter.setBrush(CardColour(palette()));
  painter.drawRoundedRect(card, 14 * scale_, 14 * scale_);
  const double margin = 8 * scale_;
  const QRectF inside = card.adjusted(margin, margin, -margin, -margin);
  if (picture_.isNull()) {
    DrawRidges(&painter, inside);
    return;
  }
  const QSizeF size =
      QSizeF(picture_.size()).scaled(inside.size(), Qt::KeepAspectRatio);
  QRectF target(QPointF(0, 0), size);
  target.moveCenter(inside.center());
  painter.drawImage(target, picture_);
}

// Two ridges a press, from the inside out.
void FingerView::DrawRidges(QPainter* painter, const QRectF& area) const {
  const double margin = 18 * scale_;
  const QRectF finger = area.adjusted(margin, margin, -margin, -margin);
  painter->setBrush(Qt::NoBrush);
  for (int ridge = 0; ridge < kRidges; ++ridge) {
    const bool done = ridge * kPresses < done_ * kRidges;
    const QColor colour =
        done ? AccentColour(palette()) : FaintColour(palette());
    painter->setPen(QPen(colour, 6 * scale_, Qt::SolidLine, Qt::RoundCap));
    painter->drawPath(Ridge(finger, ridge));
  }
}

}  // namespace corvex
