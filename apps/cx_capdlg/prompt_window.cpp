#include "cx_capdlg/prompt_window.h"

#include <QAccessible>
#include <QGridLayout>
#include <QPushButton>
#include <QRegularExpression>
#include <algorithm>
#include <initializer_list>

#include "cx_capdlg/finger_picture.h"

namespace corvex {
namespace {

constexpr int kUrgentSeconds = 5;
constexpr const char* kCaptions[kPresses] = {"第一次", "第二次", "第三次"};
constexpr char kFirstHint[] = "将手指平放在采集器上，听到提示音后抬起";
constexpr char kNextHint[] = "抬起后再按同一手指，听到提示音后抬起";

}  // namespace

PromptWindow::PromptWindow(PromptSession* session, const QRect& screen)
    : QWidget(nullptr, Qt::Dialog | Qt::WindowTitleHint |
                           Qt::WindowCloseButtonHint |
                           Qt::WindowStaysOnTopHint),
      session_(session),
      look_(screen.size()) {
  setWindowTitle("指纹采集");
  setStyleSheet(look_.StyleSheet());
  setFixedSize(look_.Px(700), look_.Px(400));
  move(screen.center() - rect().center());
  text_->setWordWrap(true);
  hint_->setWordWrap(true);
  finger_->setAccessibleName("指纹图像");
  finger_->setFixedSize(look_.Px(184), look_.Px(254));
  time_bar_->setTextVisible(false);
  time_bar_->setMaximum(std::max(1, session_->TimeoutSeconds()));
  BuildLayout();
  ShowPress(0);
  ShowText("请准备按捺手指");
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
    step.caption = NewLabel("caption", kCaptions[i]);
    grid->addWidget(step.badge, 0, 2 * i, Qt::AlignCenter);
    grid->addWidget(step.caption, 1, 2 * i, Qt::AlignCenter);
    if (i == 0) continue;
    step.line = NewLabel("line");
    grid->addWidget(step.line, 0, 2 * i - 1);
    grid->setColumnStretch(2 * i - 1, 1);
  }
  return bar;
}

QWidget* PromptWindow::NewCancelButton() {
  auto* const cancel = new QPushButton("取消 (Esc)");
  cancel->setShortcut(Qt::Key_Escape);
  cancel->setAccessibleName("取消采集");
  connect(cancel, &QPushButton::clicked, this, &QWidget::close);
  return cancel;
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
  grid->addWidget(NewCancelButton(), 6, 2, 2, 1);
  grid->setColumnStretch(1, 1);
  grid->activate();
}

void PromptWindow::Poll() {
  const auto take = [this](const smo_data_t& item) { Take(item); };
  if (session_->Poll(take) != SessionState::kOpen) close();
  ShowTime();
}

void PromptWindow::Take(const smo_data_t& item) {
  if (item.msg_flag == 1) ShowText(ShownText(item));
  if (item.img_flag != 1) return;
  picture_ = item.img1_len > 0 ? DecodePicture(item.img1_data, item.img1_len)
                               : DecodePicture(item.img2_data, item.img2_len);
  ShowFinger();
}

// The driver repeats its text twice a second; only a new one is news, above all
// to a screen reader. What is no UTF-8 becomes U+FFFD, what is no character a
// blank.
void PromptWindow::ShowText(const std::string& text) {
  const QString shown =
      QString::fromStdString(text).replace(QRegularExpression("\\p{Cc}"), " ");
  if (shown == text_->accessibleName()) return;
  text_->setAccessibleName(shown);
  const int press = PressOf(text);
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
  step_bar_->setAccessibleName(
      press == 0 ? QString("共 %1 次按捺").arg(kPresses)
                 : QString("第 %1 次按捺，共 %2 次").arg(press).arg(kPresses));
  hint_->setText(press <= 1 ? kFirstHint : kNextHint);
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
  time_->setText(QString("剩余时间 %1 秒").arg(seconds));
  time_bar_->setValue(seconds);
  for (QWidget* part : std::initializer_list<QWidget*>{time_, time_bar_}) {
    part->setVisible(session_->TimeoutSeconds() > 0);
    Look::SetState(part, seconds <= kUrgentSeconds ? "urgent" : "");
  }
}

}  // namespace corvex
