// The shared record: posted by one process, taken by another.
#include <gtest/gtest.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "extern/smo_opt/smo_base1.h"
#include "support/temp_file.h"

namespace {

constexpr key_t kKey = -1;  // of a key file that does not exist

// Runs in another process, as the prompt program is.
bool Elsewhere(const std::function<bool()>& work) {
  const pid_t other = fork();
  if (other == 0) _exit(work() ? 0 : 1);
  int status = 0;
  waitpid(other, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

const char* TextOf(const smo_data_t& record) {
  return reinterpret_cast<const char*>(&record) +
         offsetof(smo_data_t, msg_text);
}

class RecordTest : public testing::Test {
 protected:
  void Create() { ASSERT_EQ(0, writer_.sm_opt_init(CX_SMO_SIZE)); }
  void Post(int32_t kind) {
    EXPECT_EQ(0, writer_.sm_set_data(kind, *staging_));
  }
  void PostText(const std::string& text) {
    CopyRecordText(*staging_, text.c_str());
    Post(SMO_SET_MSG);
  }
  // Takes an item as another process does; `item_` holds it.
  int32_t Take() {
    memset(item_.get(), 0, sizeof *item_);
    return reader_.sm_get_data(*item_);
  }
  // The block itself.
  smo_data_t* Block() {
    if (block_ == nullptr) {
      block_ = static_cast<smo_data_t*>(shmat(shmget(kKey, 0, 0), nullptr, 0));
    }
    return block_;
  }

  CxSmoBase1 writer_, reader_;
  std::unique_ptr<smo_data_t> staging_ = std::make_unique<smo_data_t>();
  std::unique_ptr<smo_data_t> item_ = std::make_unique<smo_data_t>();
  smo_data_t* block_ = nullptr;
};

TEST_F(RecordTest, ReachesAnotherProcess) {
  Create();
  staging_->timeout = 30;
  staging_->dlg_type = 1;
  Post(SMO_SET_DLGINFO);
  PostText("请您");
  EXPECT_TRUE(Elsewhere([&] {
    CxSmoBase1 other;
    return other.sm_get_timeout() == 30 && other.sm_get_dlgtype() == 1 &&
           other.sm_get_data(*item_) == 1 && item_->msg_flag == 1 &&
           strcmp(item_->msg_text, "请您") == 0;
  }));
  EXPECT_EQ(CX_DLG_NOTHING, Take());
}

TEST_F(RecordTest, NothingPendingLeavesTheDestinationAlone) {
  Create();
  item_->msg_text[0] = 'x';
  EXPECT_EQ(CX_DLG_NOTHING, reader_.sm_get_data(*item_));
  EXPECT_EQ('x', item_->msg_text[0]);
}

TEST_F(RecordTest, ACloseRequestOutranksATextAndATextAPicture) {
  Create();
  staging_->img1_len = 3;
  Post(SMO_SET_IMAGES);
  PostText("text");
  Post(SMO_SET_QUIT);
  EXPECT_EQ(1, Take());
  EXPECT_EQ(1, item_->quit_flag);
  EXPECT_EQ(0, item_->msg_flag);
  EXPECT_EQ(1, Take());
  EXPECT_EQ(1, item_->msg_flag);
  EXPECT_STREQ("text", item_->msg_text);
  EXPECT_EQ(1, Take());
  EXPECT_EQ(1, item_->img_flag);
  EXPECT_EQ(CX_DLG_NOTHING, Take());
}

TEST_F(RecordTest, ASecondTextReplacesTheFirstWhole) {
  Create();
  PostText("the longer first text");
  PostText("second");
  EXPECT_EQ(1, Take());
  EXPECT_EQ(0, memcmp(item_->msg_text, "second\0\0\0\0\0\0", 12));
  EXPECT_EQ(CX_DLG_NOTHING, Take());
}

TEST_F(RecordTest, APictureStaysForThePostThatBringsOnlyTheOther) {
  Create();
  staging_->img1_len = 2;
  memcpy(staging_->img1_data, "ab", 2);
  Post(SMO_SET_IMAGES);
  EXPECT_EQ(1, Take());
  staging_->img1_len = 0;
  staging_->img2_len = 3;
  memcpy(staging_->img2_data, "cde", 3);
  Post(SMO_SET_IMAGES);
  EXPECT_EQ(1, Take());
  EXPECT_EQ(2, item_->img1_len);
  EXPECT_EQ(0, memcmp(item_->img1_data, "ab", 3));
  EXPECT_EQ(3, item_->img2_len);
  EXPECT_EQ(0, memcmp(item_->img2_data, "cde", 4));
}

TEST_F(RecordTest, EmptyAndUnknownPostsChangeNothing) {
  Create();
  for (const int32_t kind : {SMO_SET_IMAGES + 0, 0, 5, -1}) {
    Post(kind);
    EXPECT_EQ(CX_DLG_NOTHING, Take()) << kind;
  }
}

TEST_F(RecordTest, ATextMayRunPastItsFieldButNotPastTheRecord) {
  Create();
  for (const size_t length : {size_t{255}, size_t{256}, size_t{600},
                              size_t{1} << 20, size_t{CX_SMO_SIZE} + 5000}) {
    const std::string text(length, '\x85');
    PostText(text);
    ASSERT_EQ(1, Take()) << length;
    const size_t room = CX_SMO_SIZE - offsetof(smo_data_t, msg_text) - 1;
    EXPECT_EQ(std::string(TextOf(*item_)), text.substr(0, room)) << length;
    EXPECT_EQ(CX_DLG_NOTHING, Take()) << length;
  }
}

TEST_F(RecordTest, AnUnterminatedTextEndsWithTheRecord) {
  Create();
  memset(Block()->msg_text, 'x', CX_SMO_SIZE - offsetof(smo_data_t, msg_text));
  Block()->quit_flag = 0;
  Block()->msg_flag = 1;
  EXPECT_EQ(1, Take());
  EXPECT_EQ(CX_SMO_SIZE - offsetof(smo_data_t, msg_text) - 1,
            strlen(TextOf(*item_)));
}

TEST_F(RecordTest, APictureLengthOutsideItsFieldIsNoPicture) {
  Create();
  for (const int32_t length :
       {CX_SMO_IMAGE_BYTES + 1, INT32_MAX, -1, INT32_MIN, 0}) {
    Block()->img1_len = Block()->img2_len = length;
    Block()->img_flag = 1;
    EXPECT_EQ(1, Take()) << length;
    EXPECT_EQ(0, item_->img_flag) << length;
    EXPECT_EQ(0, item_->img1_len) << length;
    staging_->img1_len = staging_->img2_len = length;
    Post(SMO_SET_IMAGES);
    EXPECT_EQ(CX_DLG_NOTHING, Take()) << length;
  }
  Block()->img1_len = CX_SMO_IMAGE_BYTES;
  Block()->img_flag = 1;
  EXPECT_EQ(1, Take());
  EXPECT_EQ(CX_SMO_IMAGE_BYTES, item_->img1_len);
}

// The window would otherwise take "an item" without end.
TEST_F(RecordTest, AFlagThatIsNeither0Nor1IsNoItem) {
  Create();
  Block()->quit_flag = 2;
  Block()->img_flag = INT32_MIN;
  EXPECT_EQ(CX_DLG_NOTHING, Take());
}

TEST_F(RecordTest, WithoutASegmentEveryReadFailsAndSaysSo) {
  EXPECT_EQ(-1, Take());
  const std::string reason = " get share memory address failed. nret = [-1]";
  const auto ends_with = [&](const char* operation) {
    const std::string text = reader_.sm_get_errinf();
    const std::string end = operation + ("." + reason);
    return text.find("smo_base1.cpp ") == 0 && text.size() > end.size() &&
           text.substr(text.size() - end.size()) == end;
  };
  EXPECT_TRUE(ends_with(" sm_get_data")) << reader_.sm_get_errinf();
  EXPECT_EQ(-1, reader_.sm_get_dlgtype());
  EXPECT_TRUE(ends_with(" sm_get_dlgtype")) << reader_.sm_get_errinf();
  EXPECT_EQ(-1, reader_.sm_get_timeout());
  EXPECT_TRUE(ends_with(" sm_get_timeout")) << reader_.sm_get_errinf();
  EXPECT_EQ(-1, reader_.sm_set_data(SMO_SET_QUIT, *staging_));
  EXPECT_TRUE(ends_with(" sm_set_data")) << reader_.sm_get_errinf();
}

TEST_F(RecordTest, ASegmentSmallerThanTheRecordIsNeverTouched) {
  ASSERT_NE(-1, shmget(kKey, 4096, IPC_CREAT | 0666));
  EXPECT_EQ(-1, Take());
  EXPECT_EQ(-1, reader_.sm_get_timeout());
  EXPECT_EQ(-1, writer_.sm_opt_init(CX_SMO_SIZE));
}

TEST_F(RecordTest, ALargerLeftOverSegmentServes) {
  ASSERT_NE(-1, shmget(kKey, 2 * CX_SMO_SIZE, IPC_CREAT | 0666));
  Create();
  PostText("text");
  EXPECT_EQ(1, Take());
}

TEST_F(RecordTest, WhatAKilledHostLeftPendingIsNotTaken) {
  EXPECT_TRUE(Elsewhere([&] {
    auto* const host = new CxSmoBase1;  // dies without its destructor
    host->sm_opt_init(CX_SMO_SIZE);
    host->sm_set_data(SMO_SET_QUIT, *staging_);
    CopyRecordText(*staging_, "stale");
    host->sm_set_data(SMO_SET_MSG, *staging_);
    return true;
  }));
  Create();
  EXPECT_EQ(CX_DLG_NOTHING, Take());
}

TEST_F(RecordTest, AStrangersSegmentIsRefused) {
  ASSERT_NE(-1, shmget(kKey, CX_SMO_SIZE, IPC_CREAT | 0600));
  EXPECT_TRUE(Elsewhere([&] {
    if (setuid(65534) != 0) return true;  // no second user on this machine
    return writer_.sm_opt_init(CX_SMO_SIZE) == -1 && Take() == -1;
  }));
}

TEST_F(RecordTest, OnlyTheOwnerRemovesTheSegment) {
  Create();
  EXPECT_EQ(0, reader_.sm_get_dlgtype());
  EXPECT_EQ(0, reader_.sm_opt_uninit());
  EXPECT_NE(-1, shmget(kKey, 0, 0));
  EXPECT_EQ(0, writer_.sm_opt_uninit());
  EXPECT_EQ(-1, shmget(kKey, 0, 0));
}

// A window polls for minutes; a process has 65530 mappings.
TEST_F(RecordTest, AttachmentsDoNotPileUp) {
  Create();
  for (int i = 0; i < 100; ++i) {
    Take();
    PostText("text");
  }
  shmid_ds info{};
  ASSERT_EQ(0, shmctl(shmget(kKey, 0, 0), IPC_STAT, &info));
  EXPECT_EQ(2u, info.shm_nattch);
}

TEST_F(RecordTest, AKeyFileThatExistsNamesAnotherSegment) {
  Create();
  support::WriteFile(kSegmentPath, "");
  EXPECT_EQ(-1, Take());
  CxSmoBase1 other;
  EXPECT_EQ(0, other.sm_opt_init(CX_SMO_SIZE));
  EXPECT_EQ(CX_DLG_NOTHING, Take());
  EXPECT_NE(shmget(kKey, 0, 0), shmget(ftok(kSegmentPath, 'A'), 0, 0));
}

// In a root directory of its own: "/bmp" is nobody's to make on this machine.
TEST_F(RecordTest, TheBlockIsLockedWhereTheLocksDirectoryExists) {
  std::filesystem::create_directories("/tmp/root/bmp");
  EXPECT_TRUE(Elsewhere([&] {
    if (chroot("/tmp/root") != 0) return false;
    Create();
    PostText("text");
    return access(kBlockLockPath, F_OK) == 0 && Take() == 1;
  }));
  EXPECT_FALSE(std::filesystem::exists(kBlockLockPath));
}

// Without exclusion, but not without the window.
TEST_F(RecordTest, ALockThatStaysTakenDelaysAPostButDoesNotStopIt) {
  std::filesystem::create_directories("/tmp/root/bmp");
  EXPECT_TRUE(Elsewhere([&] {
    if (chroot("/tmp/root") != 0) return false;
    Create();
    CxMutexCls stranger;
    stranger.mutex_init(kBlockLockPath, 0);
    if (stranger.mutex_lock() != 0) return false;
    PostText("text");
    return Take() == 1;
  }));
}

}  // namespace
