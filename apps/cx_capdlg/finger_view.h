// The picture that the driver sends; a fingerprint drawn here while it is
// blank.
#ifndef APPS_CX_CAPDLG_FINGER_VIEW_H_
#define APPS_CX_CAPDLG_FINGER_VIEW_H_

#include <QImage>
#include <QWidget>

namespace corvex {

class FingerView : public QWidget {
 public:
  explicit FingerView(double scale, QWidget* parent = nullptr);

  // Shows a picture; what is not a BMP leaves the drawing.
  void SetPicture(const uint8_t* bmp, int len_bytes);
  // How much of the drawing is coloured: presses that are done, 0 to 3.
  void SetDone(int presses);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void DrawRidges(QPainter* painter, const QRectF& area) const;

  const double scale_;
  QImage picture_;
  int done_ = 0;
};

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_FINGER_VIEW_H_
