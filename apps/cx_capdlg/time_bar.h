// The seconds that are left, as a number and a shrinking bar.
#ifndef APPS_CX_CAPDLG_TIME_BAR_H_
#define APPS_CX_CAPDLG_TIME_BAR_H_

#include <QWidget>

namespace corvex {

class TimeBar : public QWidget {
 public:
  TimeBar(double scale, int total_s, QWidget* parent = nullptr);

  void SetLeft(int seconds);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  const double scale_;
  const int total_s_;
  int left_s_ = -1;
};

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_TIME_BAR_H_
