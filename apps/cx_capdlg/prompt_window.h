// The prompt window: a text, a picture, three steps, the time left, cancel.
#ifndef APPS_CX_CAPDLG_PROMPT_WINDOW_H_
#define APPS_CX_CAPDLG_PROMPT_WINDOW_H_

#include <QImage>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QWidget>
#include <string>

#include "cx_capdlg/look.h"
#include "cx_capdlg/prompt_session.h"
#include "cx_capdlg/prompt_text.h"
#include "cx_capdlg/words.h"

namespace corvex {

// Lives as long as the session, and for a moment says how that ended. Closing
// it before is the user's way to cancel.
class PromptWindow : public QWidget {
 public:
  // In the middle of what is free of the screen.
  PromptWindow(PromptSession* session, const QRect& screen, const Words& words);

 private:
  struct Step {
    QLabel* badge = nullptr;
    QLabel* caption = nullptr;
    QLabel* line = nullptr;  // from the step before; the first has none
  };

  QLabel* NewLabel(const char* name, const QString& text = {});
  QWidget* NewSteps();
  void PrepareCancelButton();
  void BuildLayout();
  void Poll();
  void Take(const smo_data_t& item);
  void ShowText(const std::string& text);
  void FitText(const QString& text);
  void ShowPress(int press);
  void ShowFinger();
  void ShowTime();
  void ShowEnding();

  PromptSession* const session_;
  const Look look_;
  const Words& words_;
  QLabel* const finger_ = NewLabel("finger");
  QLabel* const text_ = NewLabel("text");
  QLabel* const hint_ = NewLabel("hint");
  Step steps_[kPresses];
  QWidget* const step_bar_ = NewSteps();
  QLabel* const time_ = NewLabel("time");
  QProgressBar* const time_bar_ = new QProgressBar;
  QPushButton* const cancel_ = new QPushButton;
  QTimer poll_;
  QImage picture_;
  int press_ = 0;
};

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_PROMPT_WINDOW_H_
