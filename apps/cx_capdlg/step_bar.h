// The three presses, with the one that is due marked.
#ifndef APPS_CX_CAPDLG_STEP_BAR_H_
#define APPS_CX_CAPDLG_STEP_BAR_H_

#include <QWidget>

namespace corvex {

class StepBar : public QWidget {
 public:
  explicit StepBar(double scale, QWidget* parent = nullptr);

  // The press that is due, 1 to 3; 0 marks none.
  void SetCurrent(int press);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QPointF Centre(int press) const;
  void DrawLine(QPainter* painter, int press) const;
  void DrawStep(QPainter* painter, int press) const;

  const double scale_;
  int current_ = 0;
};

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_STEP_BAR_H_
