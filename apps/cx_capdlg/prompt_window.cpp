#include "cx_capdlg/prompt_window.h"

#include <QAccessible>
#include <QGridLayout>
#include <QRegularExpression>
#include <algorithm>
#include <initializer_list>

#include "cx_capdlg/finger_picture.h"

namespace corvex {
namespace {

constexpr int kUrgentSeconds = 5;

// Long enough to read two lines. The host waits for it: the driver gives the
// window three seconds to go.
constexpr std::chrono::seconds kFarewell{1};

}  // namespace

PromptWindow::PromptWindow(PromptSession* session, const QRect& screen,
                           const Words& words)
    : QWidget(nullptr, Qt::Dialog | Qt::WindowTitleHint |
                           Qt::WindowCloseButtonHint |
                           Qt::WindowStaysOnTopHint),
      session_(session),
      look_(screen.size()),
      words_(words) {
  setWindowTitle(words.title);
  setStyleSheet(look_.StyleSheet());
  setFixedSize(look_.Px(700), look_.Px(*words.note == '\0' ? 400 : 430));
  move(screen.center() - rect().center());
  text_->setWordWrap(true);
  hint_->setWordWrap(true);
  finger_->setAccessibleName(words.picture);
  finger_->setFixedSize(look_.Px(184), look_.Px(254));
  time_bar_->setTextVisible(false);
  time_bar_->setMaximum(std::max(1, session_->TimeoutSeconds()));
  PrepareCancelButton();
  BuildLayout();
  ShowPress(0);
  ShowText(words.ready);
  ShowTime();
  // A stray blank or a bar-code scanner's Return must not press the button.
  setFocusPolicy(Qt::StrongFocus);
  setFocus();
  connect(&poll_, &QTimer::timeout, this, [this] { Poll(); });
  poll_.start(PromptSession::kPollPause);
}

QLabel* PromptWindow::NewLabel(const char* name, const QString& text) {
  auto* const label = new QLabel(text, this);
  label->setObjectName(name);
  label->setTextFormat(Qt::PlainText);
  return label;
}

QWidget* PromptWindow::NewSteps() {
  auto* const bar = new QWidget(this);
  auto* const grid = new QGridLayout(bar);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setSpacing(look_.Px(6));
  for (int i = 0; i < kPresses; ++i) {
    Step& step = steps_[i];
    step.badge = NewLabel("badge");
    step.badge->setFixedSize(look_.Px(36), look_.Px(36));
    step.badge->setAlignment(Qt::AlignCenter);
    step.caption = NewLabel("caption", words_.captions[i]);
    grid->addWidget(step.badge, 0, 2 * i, Qt::AlignCenter);
    grid->addWidget(step.caption, 1, 2 * i, Qt::AlignCenter);
    if (i == 0) continue;
    step.line = NewLabel("line");
    grid->addWidget(step.line, 0, 2 * i - 1);
    grid->setColumnStretch(2 * i - 1, 1);
  }
  return bar;
}

void PromptWindow::PrepareCancelButton() {
  cancel_->setText(words_.cancel);
  cancel_->setShortcut(Qt::Key_Escape);
  cancel_->setAccessibleName(words_.cancel_purpose);
  connect(cancel_, &QPushButton::clicked, this, &QWidget::close);
}

void PromptWindow::BuildLayout() {
  auto* const grid = new QGridLayout(this);
  const int margin = look_.Px(36);
  grid->setContentsMargins(margin, margin, margin, look_.Px(30));
  grid->setHorizontalSpacing(look_.Px(32));
  grid->setVerticalSpacing(look_.Px(8));
  finger_->setAlignment(Qt::AlignCenter);
  grid->addWidget(finger_, 0, 0, 5, 1);
  grid->setRowStretch(0, 2);
  grid->addWidget(text_, 1, 1, 1, 2);
  grid->addWidget(hint_, 2, 1, 1, 2);
  grid->setRowStretch(3, 3);
  grid->addWidget(step_bar_, 4, 1, 1, 2);
  grid->setRowMinimumHeight(5, look_.Px(20));
  grid->addWidget(time_, 6, 0, 1, 2);
  grid->addWidget(time_bar_, 7, 0, 1, 2);
  grid->addWidget(cancel_, 6, 2, 2, 1);
  if (*words_.note != '\0') {
    grid->addWidget(NewLabel("note", words_.note), 8, 0, 1, 3);
  }
  grid->setColumnStretch(1, 1);
  grid->activate();
}

void PromptWindow::Poll() {
  const auto take = [this](const smo_data_t& item) { Take(item); };
  if (session_->Poll(take) != SessionState::kOpen) return ShowEnding();
  ShowTime();
}

void PromptWindow::Take(const smo_data_t& item) {
  if (item.msg_flag == 1) ShowText(ShownText(item));
  if (item.img_flag != 1) return;
  picture_ = item.img1_len > 0 ? DecodePicture(item.img1_data, item.img1_len)
                               : DecodePicture(item.img2_data, item.img2_len);
  ShowFinger();
}

// Nobody says how it ended, so the window claims no more than it has seen.
void PromptWindow::ShowEnding() {
  poll_.stop();
  const Ending ending = session_->HowItEnds();
  if (ending == kPressesTaken) ShowPress(kPresses + 1);
  ShowText(words_.endings[ending]);
  hint_->setText(words_.result_elsewhere);
  hint_->show();
  time_->hide();
  time_bar_->hide();
  cancel_->setText(words_.close);
  cancel_->setShortcut(Qt::Key_Escape);  // which a new text takes away
  cancel_->setAccessibleName({});
  poll_.disconnect();
  connect(&poll_, &QTimer::timeout, this, &QWidget::close);
  poll_.start(kFarewell);
}

// The driver repeats its text twice a second; only a new one is news, above all
// to a screen reader. What is no UTF-8 becomes U+FFFD, what is no character a
// blank.
void PromptWindow::ShowText(const std::string& text) {
  const int press = PressOf(text);
  const char* const own = press > 0 ? words_.presses[press - 1] : nullptr;
  const QString shown = QString::fromStdString(own == nullptr ? text : own)
                            .replace(QRegularExpression("\\p{Cc}"), " ");
  if (shown == text_->accessibleName()) return;
  text_->setAccessibleName(shown);
  hint_->setVisible(press > 0);
  if (press > 0) ShowPress(press);
  FitText(shown);
  QAccessibleEvent news(text_, QAccessible::Alert);
  QAccessible::updateAccessibility(&news);
}

// The largest of a few sizes at which a text fits; at the smallest one its end
// gives way to dots.
void PromptWindow::FitText(const QString& text) {
  const QRect room(0, 0, step_bar_->width(), look_.Px(150));
  const auto fits = [&](const QString& part) {
    return room.contains(
        text_->fontMetrics().boundingRect(room, Qt::TextWordWrap, part));
  };
  for (const int size : {34, 28, 24, 20, 17}) {
    text_->setStyleSheet(QString("font-size: %1px").arg(look_.Px(size)));
    text_->ensurePolished();
    if (fits(text)) break;
  }
  QString shown = text;
  for (auto kept = text.size(); kept > 0 && !fits(shown); --kept) {
    shown = text.left(kept) + QChar(0x2026);
  }
  text_->setText(shown);
}

void PromptWindow::ShowPress(int press) {
  press_ = press;
  for (int i = 0; i < kPresses; ++i) {
    const Step& step = steps_[i];
    const bool done = i + 1 < press;
    const char* const state = done ? "done" : i + 1 == press ? "due" : "";
    step.badge->setText(done ? QString("✓") : QString::number(i + 1));
    Look::SetState(step.badge, state);
    Look::SetState(step.caption, state);
    if (i > 0) Look::SetState(step.line, i < press ? "done" : "");
  }
  step_bar_->setAccessibleName(press == 0
                                   ? QString(words_.press_count).arg(kPresses)
                                   : QString(words_.press_of_count)
                                         .arg(std::min(press, kPresses))
                                         .arg(kPresses));
  hint_->setText(press <= 1 ? words_.first_hint : words_.next_hint);
  ShowFinger();
}

void PromptWindow::ShowFinger() {
  const double ratio = devicePixelRatioF();
  const QSize size = (finger_->size() - QSize(1, 1) * look_.Px(20)) * ratio;
  const QImage image = picture_.isNull()
                           ? DrawFinger(size, look_, std::max(0, press_ - 1))
                           : picture_.scaled(size, Qt::KeepAspectRatio,
                                             Qt::SmoothTransformation);
  QPixmap pixmap = QPixmap::fromImage(image);
  pixmap.setDevicePixelRatio(ratio);
  finger_->setPixmap(pixmap);
}

void PromptWindow::ShowTime() {
  const int seconds = session_->SecondsLeft();
  if (seconds == time_bar_->value()) return;
  time_->setText(QString(words_.seconds_left).arg(seconds));
  time_bar_->setValue(seconds);
  for (QWidget* part : std::initializer_list<QWidget*>{time_, time_bar_}) {
    part->setVisible(session_->TimeoutSeconds() > 0);
    Look::SetState(part, seconds <= kUrgentSeconds ? "urgent" : "");
  }
}

}  // namespace corvex
