#include "cx_capdlg/finger_picture.h"

#include <QPainter>
#include <QPainterPath>

#include "cx_capdlg/picture.h"
#include "cx_capdlg/prompt_text.h"

namespace corvex {
namespace {

constexpr int kRidges = 6;

// Ridge 0 is the innermost: an arch over a pair of legs, open below.
QPainterPath Ridge(const QRectF& area, int ridge) {
  const double share = (ridge + 0.6) / (kRidges - 0.4);
  QRectF arch(QPointF(0, 0), QSizeF(area.width(), area.height() * 0.9) * share);
  arch.moveCenter({area.center().x(), area.top() + area.height() * 0.45});
  const double leg = area.height() * (0.55 - 0.065 * ridge);
  QPainterPath path(QPointF(arch.left(), arch.center().y() + leg));
  path.arcTo(arch, 180, -180);
  path.lineTo(arch.right(), arch.center().y() + leg * 0.88);
  return path;
}

}  // namespace

QImage DecodePicture(const uint8_t* bmp, int len_bytes) {
  if (!IsBmp(bmp, static_cast<size_t>(len_bytes))) return {};
  const QImage picture = QImage::fromData(bmp, len_bytes, "BMP")
                             .convertToFormat(QImage::Format_RGB32);
  QImage blank = picture;
  if (!blank.isNull()) blank.fill(picture.pixel(0, 0));
  return picture == blank ? QImage() : picture;
}

// Two ridges a press, from the inside out.
QImage DrawFinger(const QSize& size, const Look& look, int done) {
  QImage drawing(size, QImage::Format_ARGB32_Premultiplied);
  drawing.fill(Qt::transparent);
  QPainter painter(&drawing);
  painter.setRenderHint(QPainter::Antialiasing);
  const double margin = size.width() * 0.11;
  const QRectF area =
      QRectF(QPointF(0, 0), size).adjusted(margin, margin, -margin, -margin);
  for (int ridge = 0; ridge < kRidges; ++ridge) {
    const char* const colour =
        ridge * kPresses < done * kRidges ? "due" : "faint";
    painter.setPen(QPen(look.Colour(colour), size.width() * 0.036,
                        Qt::SolidLine, Qt::RoundCap));
    painter.drawPath(Ridge(area, ridge));
  }
  return drawing;
}

}  // namespace corvex
