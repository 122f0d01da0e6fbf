// The prompt window on a screen that nobody sees, with a driver that may write
// anything into the block.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/shm.h>

#include <QApplication>
#include <QLayout>
#include <QPushButton>
#include <QTest>
#include <optional>

#include "cx_capdlg/picture.h"
#include "cx_capdlg/prompt_window.h"
#include "cx_dlg/grey_bmp.h"
#include "cx_logger.h"
#include "support/conditions.h"

namespace {

using corvex::SessionState;
using namespace std::chrono_literals;
using Bytes = std::vector<uint8_t>;

smo_data_t* Block(int flags = 0) {
  const int segment = shmget(-1, CX_SMO_SIZE, 0666 | flags);
  return static_cast<smo_data_t*>(shmat(segment, nullptr, 0));
}

void RemoveBlock() { shmctl(shmget(-1, 0, 0), IPC_RMID, nullptr); }

// As the driver sends it, or with a dark pixel, or cut short.
Bytes Picture(uint8_t pixel = 255, size_t size = 31478) {
  Bytes bmp(31478);
  uint64_t length = 0;
  CxSaveRawAsBmp(Bytes(30400, 255).data(), 152, 200, bmp.data(), &length, 0);
  bmp[20000] = pixel;
  bmp.resize(size);
  return bmp;
}

class Window : public testing::Test {
 protected:
  Window() { setenv("LC_ALL", "C.UTF-8", 1); }

  void Open(int32_t timeout_s = 0, const QSize& screen = {1024, 600},
            bool has_chinese_font = true) {
    RemoveBlock();
    block_ = Block(IPC_CREAT);
    block_->timeout = timeout_s;
    window_.emplace(&session_.emplace(), QRect({0, 0}, screen),
                    corvex::WordsForUser(has_chinese_font));
    window_->show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&*window_, 40000));
  }

  // What the window shows once it has taken that.
  QImage Post(int32_t* flag) {
    *flag = 1;
    EXPECT_TRUE(QTest::qWaitFor([&] { return *flag == 0; }, 40000));
    return window_->grab().toImage();
  }

  void Press(Qt::Key key) { QTest::keyClick(window_->windowHandle(), key); }

  int argc_ = 3;
  const char* argv_[4] = {"cx_capdlg", "-platform", "offscreen", nullptr};
  QApplication app_{argc_, const_cast<char**>(argv_)};
  smo_data_t* block_ = nullptr;
  std::optional<corvex::PromptSession> session_;
  std::optional<corvex::PromptWindow> window_;
};

TEST_F(Window, ShowsEachTextAndThePressThatIsDue) {
  const std::tuple<std::string, QString, QString> kTexts[] = {
      {" 请您第一次按捺手指...", "请您第一次按捺手指...", "123"},
      {" 请您第二次按捺手指...", "请您第二次按捺手指...", "✓23"},
      {" 请您第三次按捺手指...", "请您第三次按捺手指...", "✓✓3"},
      {"<b></b>", "<b></b>", "✓✓3"},
      {" W ", "W", "✓✓3"},
      {"\xFF\xC0 \x07%s%n", "\uFFFD\uFFFD  %s%n", "✓✓3"},
      {std::string(256, 'W'), QString(255, 'W'), "✓✓3"},
      {QString(200, u'请').toStdString(), QString(85, u'请'), "✓✓3"},
      {std::string(5000, '\x80'), "", "✓✓3"},
  };
  Open();
  std::vector<QImage> seen;
  for (const auto& [sent, shown, steps] : kTexts) {
    // A stray blank or a scanner's Return does not close it.
    Press(Qt::Key_Space);
    Press(Qt::Key_Return);
    std::copy_n(sent.c_str(), sent.size() + 1, block_->msg_text);
    seen.push_back(Post(&block_->msg_flag));
    EXPECT_EQ(1, std::count(seen.begin(), seen.end(), seen.back())) << sent;
    EXPECT_EQ(shown, window_->findChild<QLabel*>("text")->accessibleName());
    const auto badge = window_->findChildren<QLabel*>("badge");
    EXPECT_EQ(steps, badge[0]->text() + badge[1]->text() + badge[2]->text());
  }
  EXPECT_TRUE(window_->isVisible());
}

TEST_F(Window, ShowsAPictureThatIsNotBlank) {
  Open();
  const QImage drawn = window_->grab().toImage();
  for (const auto& picture : {Picture(), Picture(0), Picture(0, 31477)}) {
    std::copy(picture.begin(), picture.end(), block_->img1_data);
    block_->img1_len = static_cast<int32_t>(picture.size());
    EXPECT_EQ(picture == Picture(0), Post(&block_->img_flag) != drawn);
  }
}

TEST(PictureFile, IsNoneWhenAPartIsMissingOrItsHeadLies) {
  const Bytes bmp = Picture();
  // The parts; then signature, the pixels' place, head, width, height, depth,
  // compression, colours.
  const std::tuple<int, size_t, uint8_t> kLies[] = {
      {1, 0, 'B'},    {53, 0, 'B'},      {31477, 0, 'B'},   {31478, 0, 'X'},
      {31478, 10, 0}, {31478, 12, 1},    {31478, 13, 0x80}, {31478, 14, 12},
      {31478, 18, 0}, {31478, 21, 0x7F}, {31478, 21, 0xFF}, {31478, 25, 0x7F},
      {31478, 28, 1}, {31478, 30, 1},    {31478, 48, 1},    {31478, 49, 0x80},
  };
  for (const auto& [size, at, value] : kLies) {
    Bytes liar(bmp.begin(), bmp.begin() + size);
    liar[at] = value;
    EXPECT_FALSE(corvex::IsBmp(liar.data(), liar.size())) << size << " " << at;
  }
}

TEST_F(Window, EndsForTheUserAndWithTheDriver) {
  const char kReady[] = "请准备按捺手指", kEnded[] = "采集已结束";
  const auto take_third = [&] {
    strcpy(block_->msg_text, " 请您第三次按捺手指...");
    Post(&block_->msg_flag);
    QTest::qWait(2000);
    block_->quit_flag = 1;
  };
  const std::tuple<const char*, const char*, std::function<void()>> kEnds[] = {
      {"Esc", kReady, [&] { Press(Qt::Key_Escape); }},
      {"button", kReady, [&] { window_->findChild<QPushButton*>()->click(); }},
      {"the driver's request", kEnded, [&] { block_->quit_flag = 1; }},
      {"a killed driver", kEnded, [&] { shmdt(block_); }},
      {"a removed block", kEnded, RemoveBlock},
      {"a new driver", kEnded, [] { RemoveBlock(), Block(IPC_CREAT); }},
      {"the third press", "三次按捺已完成", take_third},
  };
  for (const auto& [name, last, happens] : kEnds) {
    Open();
    QTimer::singleShot(0, &*window_, happens);
    EXPECT_EQ(0, QApplication::exec()) << name;
    EXPECT_EQ(last, window_->findChild<QLabel*>("text")->accessibleName());
  }
  EXPECT_EQ("✓", window_->findChildren<QLabel*>("badge")[2]->text());
}

// Each row: when texts of a press came, and when the end.
TEST_F(Window, KnowsOfTheEndOnlyWhatTheTextsTell) {
  const std::tuple<int, std::vector<int>, int, corvex::Ending> kCourses[] = {
      {3, {1000, 1600}, 3400, corvex::kPressesTaken},
      {3, {1000, 1600}, 2300, corvex::kUnclear},   // a failed look
      {3, {1000, 4000}, 7500, corvex::kUnclear},   // on a slow line
      {3, {1000, 1600}, 14000, corvex::kUnclear},  // a silent reader
      {2, {1000, 1600}, 3400, corvex::kUnclear},
      {0, {1000, 1600}, 29000, corvex::kUnclear},  // another driver's
      {2, {29000, 29600}, 30200, corvex::kTimeUp},
  };
  const char* const kTexts[] = {"", "", " 请您第二次按捺手指...",
                                " 请您第三次按捺手指..."};
  for (const auto& [press, texts_ms, end_ms, ending] : kCourses) {
    Open(30);
    corvex::PromptSession session;
    const auto start = std::chrono::steady_clock::now();
    for (const int at_ms : texts_ms) {
      strcpy(block_->msg_text, kTexts[press]);
      block_->msg_flag = 1;
      session.Poll([](const smo_data_t&) {}, start + at_ms * 1ms);
    }
    EXPECT_EQ(ending, session.HowItEnds(start + end_ms * 1ms))
        << press << " " << end_ms;
  }
}

TEST_F(Window, SpeaksEnglishWhereChineseIsNotWantedOrNotThere) {
  const std::tuple<const char*, bool, QString, int> kCases[] = {
      {"zh_CN.UTF-8", true, "指纹采集", 0},
      {"C", true, "指纹采集", 0},
      {"en_GB.UTF-8", true, "Fingerprint enrolment", 0},
      {"zh_CN.UTF-8", false, "Fingerprint enrolment", 1},
  };
  for (const auto& [locale, has_font, title, notes] : kCases) {
    setenv("LC_ALL", locale, 1);
    Open(30, {480, 320}, has_font);
    EXPECT_EQ(title, window_->windowTitle());
    const auto note = window_->findChildren<QLabel*>("note");
    EXPECT_EQ(notes, note.size()) << locale;
    strcpy(block_->msg_text, " 请您第二次按捺手指...");
    Post(&block_->msg_flag);
    const QLayout* const layout = window_->layout();
    EXPECT_LE(layout->minimumHeightForWidth(window_->width()),
              window_->height());
  }
}

TEST_F(Window, StandsInTheMiddleOfAnyScreenAboveOthers) {
  Open(0, {480, 320});
  EXPECT_TRUE(window_->windowFlags() & Qt::WindowStaysOnTopHint);
  EXPECT_EQ(QRect(7, 27, 466, 266), QRect(window_->pos(), window_->size()));
  Open(0, {3840, 2160});
  const QRect place(window_->pos(), window_->size());
  EXPECT_EQ(QRect(1115, 620, 1609, 919), place);
}

TEST_F(Window, CountsDownAndExpiresLongAfterTheTimeout) {
  Open(30);
  const auto* const time = window_->findChild<QLabel*>("time");
  const QString first = time->text();
  EXPECT_TRUE(first.startsWith("剩余时间 "));
  EXPECT_TRUE(QTest::qWaitFor([&] { return time->text() != first; }, 40000));
  const auto now = std::chrono::steady_clock::now();
  EXPECT_LT(session_->SecondsLeft(now + 10s), 20);
  EXPECT_EQ(SessionState::kOpen, session_->Poll(nullptr, now + 30s));
  EXPECT_EQ(SessionState::kExpired, session_->Poll(nullptr, now + 40s));
}

// The end of the program would read as the user's cancelling.
TEST(Program, WithoutADisplaySitsTheSessionOutUnseen) {
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
  unsetenv("QT_QPA_PLATFORM");
  ASSERT_NE(nullptr, freopen("/tmp/said", "w", stderr));
  const int32_t process = cx_dlg_init(1, 30, PROMPT_PROGRAM);
  EXPECT_EQ(0, cx_dlg_send_data(SMO_SET_MSG, "text", 4, nullptr, 0));
  EXPECT_TRUE(support::Eventually([] { return Block()->msg_flag == 0; }));
  EXPECT_EQ(0, cx_dlg_send_data(SMO_SET_QUIT, nullptr, 0, nullptr, 0));
  EXPECT_TRUE(support::Eventually([&] { return kill(process, 0) != 0; }));
  EXPECT_EQ(
      "cx_capdlg: there is no display: neither DISPLAY nor WAYLAND_DISPLAY is "
      "set; the enrolment goes on without its window",
      corvex::log_run_cmd("cat /tmp/said"));
}

}  // namespace
