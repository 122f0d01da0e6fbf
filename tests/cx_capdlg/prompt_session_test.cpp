// The prompt program's side of a session, with a driver in another process.
#include "cx_capdlg/prompt_session.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "extern/smo_opt/smo_base1.h"
#include "support/conditions.h"

namespace {

using corvex::OwnerWatch;
using corvex::PromptSession;
using corvex::SessionState;
using support::Eventually;

// Opens the block and stays attached until it is killed.
class Driver {
 public:
  explicit Driver(int32_t timeout_s = 0) {
    int opened[2];
    if (pipe(opened) != 0) return;
    process_ = fork();
    if (process_ == 0) {
      auto* const channel = new CxSmoBase1;  // dies without its destructor
      const auto staging = std::make_unique<smo_data_t>();
      staging->timeout = timeout_s;
      channel->sm_opt_init(CX_SMO_SIZE);
      channel->sm_set_data(SMO_SET_DLGINFO, *staging);
      if (write(opened[1], "y", 1) == 1) pause();
      _exit(1);
    }
    char answer = 0;
    EXPECT_EQ(1, read(opened[0], &answer, 1));
    close(opened[0]);
    close(opened[1]);
  }
  ~Driver() { Kill(); }
  Driver(const Driver&) = delete;
  Driver& operator=(const Driver&) = delete;

  // As the driver would; the block's attachment goes with the poster.
  void Post(int32_t kind, const char* text = "") {
    const auto staging = std::make_unique<smo_data_t>();
    CopyRecordText(*staging, text);
    staging->img1_len = 3;
    CxSmoBase1 poster;
    EXPECT_EQ(0, poster.sm_set_data(kind, *staging));
  }
  void RemoveBlock() { shmctl(shmget(-1, 0, 0), IPC_RMID, nullptr); }
  void Kill() {
    if (process_ <= 0) return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = -1;
  }

 private:
  pid_t process_ = -1;
};

class Session : public testing::Test {
 protected:
  void Open() {
    session_ = std::make_unique<PromptSession>([this](const smo_data_t& item) {
      taken_.push_back(item.msg_flag == 1 ? item.msg_text
                                          : std::to_string(item.img1_len));
    });
    EXPECT_TRUE(session_->Found());
  }
  bool StaysOpen() {
    for (int i = 0; i < 30; ++i) {
      if (session_->Poll() != SessionState::kOpen) return false;
    }
    return true;
  }
  bool Becomes(SessionState state) {
    return Eventually([&] { return session_->Poll() == state; });
  }

  std::vector<std::string> taken_;
  std::unique_ptr<PromptSession> session_;
};

TEST_F(Session, WithoutADriverThereIsNone) {
  EXPECT_FALSE(OwnerWatch().Found());
  EXPECT_TRUE(OwnerWatch().IsGone());
}

TEST_F(Session, TakesEverythingInOnePoll) {
  Driver driver(30);
  driver.Post(SMO_SET_IMAGES);
  driver.Post(SMO_SET_MSG, "text");
  Open();
  EXPECT_EQ(30, session_->TimeoutSeconds());
  EXPECT_GT(session_->SecondsLeft(), 0);
  EXPECT_LE(session_->SecondsLeft(), 30);
  EXPECT_EQ(SessionState::kOpen, session_->Poll());
  EXPECT_EQ((std::vector<std::string>{"text", "3"}), taken_);
  EXPECT_TRUE(StaysOpen());
}

TEST_F(Session, EndsOnTheDriversRequestAtOnce) {
  Driver driver;
  Open();
  driver.Post(SMO_SET_MSG, "text");
  driver.Post(SMO_SET_QUIT);
  EXPECT_EQ(SessionState::kClosed, session_->Poll());
  EXPECT_TRUE(taken_.empty());
}

TEST_F(Session, EndsWithAKilledDriver) {
  Driver driver;
  Open();
  EXPECT_TRUE(StaysOpen());
  driver.Kill();
  EXPECT_TRUE(Becomes(SessionState::kOwnerGone));
}

// The block that a killed driver left was created by a process that is dead;
// its user is alive.
TEST_F(Session, ALeftOverBlockServesTheNextDriver) {
  Driver first;
  first.Kill();
  Driver second;
  Open();
  EXPECT_TRUE(StaysOpen());
  second.Kill();
  EXPECT_TRUE(Becomes(SessionState::kOwnerGone));
}

TEST_F(Session, EndsWhenTheBlockIsRemoved) {
  Driver driver;
  Open();
  driver.RemoveBlock();
  EXPECT_EQ(SessionState::kOwnerGone, session_->Poll());
}

TEST_F(Session, IsNotTakenOverByAnotherDriversBlock) {
  Driver first;
  Open();
  first.RemoveBlock();
  Driver second;
  EXPECT_TRUE(Becomes(SessionState::kOwnerGone));
}

TEST_F(Session, EndsByItselfLongAfterTheTimeout) {
  Driver driver(1);
  Open();
  bool saw_zero = false;
  SessionState state = SessionState::kOpen;
  for (int i = 0; i < 300 && state == SessionState::kOpen; ++i) {
    usleep(100000);
    saw_zero = saw_zero || session_->SecondsLeft() == 0;
    state = session_->Poll();
  }
  EXPECT_TRUE(saw_zero);
  EXPECT_EQ(SessionState::kExpired, state);
}

}  // namespace
