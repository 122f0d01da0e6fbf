// The prompt window: a text, a picture, three steps, the time left, cancel.
#ifndef APPS_CX_CAPDLG_PROMPT_WINDOW_H_
#define APPS_CX_CAPDLG_PROMPT_WINDOW_H_

#include <QBasicTimer>
#include <QWidget>
#include <string>

#include "cx_capdlg/prompt_session.h"

class QLabel;
class QPushButton;

namespace corvex {

class FingerView;
class StepBar;
class TimeBar;

// Lives as long as the session: closes itself when that is over. Closing it
// otherwise is the user's way to cancel.
class PromptWindow : public QWidget {
 public:
  // `scale` 1 suits a screen of 1024 x 600.
  explicit PromptWindow(double scale);

 protected:
  void timerEvent(QTimerEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void BuildLayout();
  void Take(const smo_data_t& item);
  void ShowText(const std::string& text);

  const double scale_;
  PromptSession session_;
  FingerView* const finger_;
  QLabel* const text_;
  QLabel* const hint_;
  StepBar* const steps_;
  TimeBar* time_ = nullptr;  // none without a time-out
  QPushButton* const cancel_;
  QBasicTimer poll_;
};

// The scale that suits a screen of that many device-independent pixels.
double ScaleFor(const QSize& screen);

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_PROMPT_WINDOW_H_
