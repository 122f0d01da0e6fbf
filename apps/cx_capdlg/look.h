// How the window looks: its measures, its colours, its style sheet.
#ifndef APPS_CX_CAPDLG_LOOK_H_
#define APPS_CX_CAPDLG_LOOK_H_

#include <QColor>
#include <QSize>
#include <QString>

class QWidget;

namespace corvex {

// Takes the desktop's colours for text and ground, unless CX_CAPDLG_PALETTE
// asks for "light" or "dark" (where the desktop has none, and for pictures of
// the window).
class Look {
 public:
  explicit Look(const QSize& screen);

  // Device-independent pixels for a measure that suits a screen of 1024 x 600.
  int Px(int measure) const;
  // One of the colours that look.cpp lists.
  QColor Colour(const QString& name) const;

  // Knows the window's parts by object name and "state".
  QString StyleSheet() const;
  static void SetState(QWidget* part, const char* state);

 private:
  const double scale_;
  bool dark_;
};

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_LOOK_H_
