#include "cx_capdlg/prompt_window.h"

#include <QAccessible>
#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QTimerEvent>
#include <QVBoxLayout>

#include "cx_capdlg/finger_view.h"
#include "cx_capdlg/palettes.h"
#include "cx_capdlg/prompt_text.h"
#include "cx_capdlg/step_bar.h"
#include "cx_capdlg/time_bar.h"

namespace corvex {
namespace {

// What is no UTF-8 becomes U+FFFD, what is no character a blank.
QString Printable(const std::string& text) {
  QString printable = QString::fromStdString(text);
  for (QChar& c : printable) {
    if (c.category() == QChar::Other_Control) c = QChar::Space;
  }
  return printable;
}

QFont PixelFont(const QFont& base, double pixels, bool bold) {
  QFont font = base;
  font.setPixelSize(static_cast<int>(pixels));
  font.setBold(bold);
  return font;
}

void SetTextColour(QWidget* widget, const QColor& colour) {
  QPalette palette = widget->palette();
  palette.setColor(QPalette::WindowText, colour);
  widget->setPalette(palette);
}

// The largest of a few sizes at which a text fits; at the smallest one its end
// gives way to dots.
void FitText(QLabel* label, const QString& text, const QSize& room,
             double scale) {
  constexpr int kSizes[] = {34, 28, 24, 20, 17};
  const auto fits = [&](const QString& part) {
    const QRect needed =
        QFontMetrics(label->font())
            .boundingRect(QRect(QPoint(0, 0), room), Qt::TextWordWrap, part);
    return needed.height() <= room.height() && needed.width() <= room.width();
  };
  for (const int size : kSizes) {
    label->setFont(PixelFont(label->font(), size * scale, true));
    if (fits(text)) break;
  }
  QString shown = text;
  for (auto kept = text.size(); kept > 0 && !fits(shown); --kept) {
    shown = text.left(kept) + QChar(0x2026);
  }
  label->setText(shown);
}

const char* HintFor(int press) {
  return press <= 1 ? "将手指平放在采集器上，听到提示音后抬起"
                    : "抬起后再按同一手指，听到提示音后抬起";
}

}  // namespace

PromptWindow::PromptWindow(double scale)
    : QWidget(nullptr, Qt::Dialog | Qt::WindowTitleHint |
                           Qt::WindowCloseButtonHint |
                           Qt::WindowStaysOnTopHint),
      scale_(scale),
      session_([this](const smo_data_t& item) { Take(item); }),
      finger_(new FingerView(scale, this)),
      text_(new QLabel(this)),
      hint_(new QLabel(HintFor(0), this)),
      steps_(new StepBar(scale, this)),
      cancel_(new QPushButton("取消 (Esc)", this)) {
  setWindowTitle("指纹采集");
  setFixedSize(static_cast<int>(700 * scale), static_cast<int>(400 * scale));
  text_->setFont(PixelFont(font(), 34 * scale, true));
  text_->setWordWrap(true);
  text_->setTextFormat(Qt::PlainText);
  hint_->setFont(PixelFont(font(), 18 * scale, false));
  hint_->setWordWrap(true);
  SetTextColour(hint_, SecondaryColour(palette()));
  cancel_->setFont(PixelFont(font(), 20 * scale, false));
  cancel_->setMinimumSize(static_cast<int>(160 * scale),
                          static_cast<int>(52 * scale));
  // A stray blank or a bar-code scanner's Return must not press the button.
  setFocusPolicy(Qt::StrongFocus);
  setFocus();
  cancel_->setAccessibleName("取消采集");
  connect(cancel_, &QPushButton::clicked, this, &QWidget::close);
  if (session_.TimeoutSeconds() > 0) {
    time_ = new TimeBar(scale, session_.TimeoutSeconds(), this);
  }
  BuildLayout();
  layout()->activate();
  ShowText("请准备按捺手指");
  poll_.start(static_cast<int>(PromptSession::kPollPause.count()), this);
}

void PromptWindow::BuildLayout() {
  const auto px = [this](double value) {
    return static_cast<int>(value * scale_);
  };
  auto* const words = new QVBoxLayout;
  words->setSpacing(px(10));
  words->addStretch(2);
  words->addWidget(text_);
  words->addWidget(hint_);
  words->addStretch(3);
  words->addWidget(steps_);
  auto* const top = new QHBoxLayout;
  top->setSpacing(px(32));
  top->addWidget(finger_);
  top->addLayout(words, 1);
  auto* const bottom = new QHBoxLayout;
  bottom->setSpacing(px(32));
  if (time_ != nullptr) {
    bottom->addWidget(time_, 1, Qt::AlignVCenter);
  } else {
    bottom->addStretch(1);
  }
  bottom->addWidget(cancel_);
  auto* const all = new QVBoxLayout(this);
  all->setContentsMargins(px(36), px(36), px(36), px(30));
  all->setSpacing(px(28));
  all->addLayout(top, 1);
  all->addLayout(bottom);
}

void PromptWindow::timerEvent(QTimerEvent* event) {
  if (event->timerId() != poll_.timerId()) {
    QWidget::timerEvent(event);
    return;
  }
  if (session_.Poll() != SessionState::kOpen) {
    close();
    return;
  }
  if (time_ != nullptr) time_->SetLeft(session_.SecondsLeft());
}

void PromptWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    close();
  } else {
    QWidget::keyPressEvent(event);
  }
}

void PromptWindow::closeEvent(QCloseEvent* event) {
  poll_.stop();
  QWidget::closeEvent(event);
  QApplication::quit();
}

void PromptWindow::Take(const smo_data_t& item) {
  if (item.msg_flag == 1) ShowText(ShownText(item));
  if (item.img_flag != 1) return;
  if (item.img1_len > 0) {
    finger_->SetPicture(item.img1_data, item.img1_len);
  } else {
    finger_->SetPicture(item.img2_data, item.img2_len);
  }
}

// The driver repeats its text twice a second; only a new one is news, above all
// to a screen reader.
void PromptWindow::ShowText(const std::string& text) {
  const QString shown = Printable(text);
  if (shown == text_->accessibleName()) return;
  text_->setAccessibleName(shown);
  const int press = PressOf(text);
  if (press > 0) {
    steps_->SetCurrent(press);
    finger_->SetDone(press - 1);
    hint_->setText(HintFor(press));
  }
  hint_->setVisible(press > 0);
  FitText(text_, shown, QSize(steps_->width(), static_cast<int>(150 * scale_)),
          scale_);
  QAccessibleEvent news(text_, QAccessible::Alert);
  QAccessible::updateAccessibility(&news);
}

double ScaleFor(const QSize& screen) {
  const double room =
      std::min(screen.width() / 1024.0, screen.height() / 600.0);
  return std::clamp(1 + (room - 1) / 2, 0.6, 2.5);
}

}  // namespace corvex
