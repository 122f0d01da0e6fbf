// The channel: its block between this process and others, its lock, and a
// stand-in for the window as its program.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/shm.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>

#include "corvex_capdlg/stand_in.h"
#include "cx_logger.h"
#include "extern/smo_opt/smo_base1.h"

namespace {

namespace fs = std::filesystem;
using support::InstallStandIn;
using support::StandIn;
using support::StandInNoted;

constexpr char kProgram[] = "/tmp/a/cx_capdlg";
constexpr key_t kKey = -1;  // of a key file that does not exist
constexpr size_t kTextAt = offsetof(smo_data_t, msg_text);
constexpr size_t kLongestText = CX_SMO_SIZE - kTextAt - 1;

bool SegmentExists() { return shmget(kKey, 0, 0) != -1; }

// The block as any other program may write it.
smo_data_t& Block() {
  return *static_cast<smo_data_t*>(shmat(shmget(kKey, 0, 0), nullptr, 0));
}

bool CanLock(const char* path, int32_t timeout_ms) {
  CxMutexCls lock;
  lock.mutex_init(path, timeout_ms);
  return lock.mutex_lock() == 0 && lock.mutex_unlock() == 0;
}

int LowestFreeFile() {
  const int file = dup(2);
  close(file);
  return file;
}

// Process 1 may take a moment to note its end.
bool IsGone(pid_t process) {
  return support::Eventually([&] { return kill(process, 0) != 0; });
}

// Why the last call failed, without the file and line that begin it.
const char* Reason() {
  const char* const text = m_smo_opt.sm_get_errinf();
  return strchr(text + strlen("smo_base1.cpp "), ' ') + 1;
}

int32_t Start(StandIn behaviour = StandIn::kObeys) {
  return cx_dlg_init(1, 30, InstallStandIn("/tmp/a", behaviour).c_str());
}

int32_t SendText(const char* text) {
  return cx_dlg_send_data(SMO_SET_MSG, text, 0, nullptr, 0);
}

int32_t SendImages(const void* first, int32_t len1, const void* second,
                   int32_t len2) {
  return cx_dlg_send_data(SMO_SET_IMAGES, first, len1, second, len2);
}

// Calls of a host's static objects, after the channel has ended.
bool g_calls_late = false;
void CallLate() {
  if (!g_calls_late) return;
  char text[CX_DLG_ERRINF_BYTES];
  const bool is_closed = cx_dlg_uninit() == 0 && SendText("text") == -19 &&
                         cx_dlg_init(1, 30, kProgram) == -1 &&
                         cx_dlg_get_errinf(text) == 0;
  _exit(is_closed ? 0 : 1);
}
// Meant before the channel is made, so that it happens when that is gone.
__attribute__((constructor(101))) void MeanToCallLate() { atexit(CallLate); }

class Channel : public testing::Test {
 protected:
  void TearDown() override { cx_dlg_uninit(); }

  void Create() { EXPECT_EQ(0, driver_.sm_opt_init(CX_SMO_SIZE)); }
  void Post(int32_t kind) { EXPECT_EQ(0, driver_.sm_set_data(kind, staging_)); }
  void PostText(const std::string& text) {
    CopyRecordText(staging_, text.c_str());
    Post(SMO_SET_MSG);
  }
  void PostImages(const char* images, int32_t len1, int32_t len2) {
    staging_.img1_len = len1;
    staging_.img2_len = len2;
    memcpy(staging_.img1_data, images, 3);
    memcpy(staging_.img2_data, images, 3);
    Post(SMO_SET_IMAGES);
  }
  // What the window takes, or the code that it gets.
  std::string Taken() {
    const int32_t taken = cx_dlg_recv_data(&item_, &bytes_);
    if (taken != 1) return std::to_string(taken);
    std::string what = item_.quit_flag == 1 ? "quit" : "";
    if (item_.msg_flag == 1) what += reinterpret_cast<char*>(&item_) + kTextAt;
    if (item_.img_flag != 1) return what;
    what.append(item_.img1_data, item_.img1_data + item_.img1_len).append("+");
    return what.append(item_.img2_data, item_.img2_data + item_.img2_len);
  }

  CxSmoBase1 driver_;
  smo_data_t staging_{}, item_{};
  uint32_t bytes_ = 0;
};

TEST_F(Channel, KeepsEachKindApartAndGivesTheMostUrgentFirst) {
  Create();
  for (const int32_t kind : {SMO_SET_IMAGES + 0, 0, 5}) {
    Post(kind);  // of nothing
    EXPECT_EQ("-4", Taken()) << kind;
  }
  EXPECT_EQ(0u, bytes_);
  PostImages("abc", 2, 0);
  EXPECT_EQ("ab+", Taken());
  PostImages("xyz", 0, 3);  // the first one stays
  PostText("the longer first text");
  PostText("second");
  Post(SMO_SET_QUIT);
  EXPECT_EQ("quit", Taken());
  EXPECT_EQ(2097692u, bytes_);
  EXPECT_EQ("second", Taken());
  EXPECT_EQ("ab+xyz", Taken());
  EXPECT_EQ("-4", Taken());
}

TEST_F(Channel, BelievesNoLengthOfTheBlock) {
  Create();
  smo_data_t& block = Block();
  for (const int32_t length : {CX_SMO_IMAGE_BYTES + 0, CX_SMO_IMAGE_BYTES + 1,
                               INT32_MAX, -1, INT32_MIN}) {
    const bool fits = length == CX_SMO_IMAGE_BYTES;
    block.img1_len = block.img2_len = length;
    block.img_flag = 1;
    EXPECT_EQ(fits ? 2u * CX_SMO_IMAGE_BYTES + 1 : 0, Taken().size()) << length;
    EXPECT_EQ(fits ? length : 0, item_.img1_len);
    PostImages("abc", length, length);
    EXPECT_EQ(fits, Taken() != "-4") << length;
  }
  memset(block.msg_text, 'x', kLongestText + 1);  // nothing ends this text
  block.msg_flag = 1;
  EXPECT_EQ(std::string(kLongestText, 'x'), Taken());
  // Ours end in time; they spoil the flags, which must not read as pictures.
  for (const size_t length : {255u, 256u, 600u, 1u << 22}) {
    const std::string text(length, '\x85');
    PostText(text);
    EXPECT_EQ(text.substr(0, kLongestText), Taken()) << length;
    EXPECT_EQ("-4", Taken()) << length;
  }
}

// A window polls for minutes; a process has 65530 mappings.
TEST_F(Channel, TheBlockIsAttachedOnceOpenToAllAndItsOwnerRemovesIt) {
  support::WriteFile(kSegmentPath, "");
  Create();
  for (int i = 0; i < 9; ++i) EXPECT_EQ("-4", Taken());
  const key_t key = ftok(kSegmentPath, 'A');
  shmid_ds info{};
  EXPECT_EQ(0, shmctl(shmget(key, 0, 0), IPC_STAT, &info));
  EXPECT_EQ(0666, info.shm_perm.mode & 0777);
  EXPECT_EQ(2u, info.shm_nattch);
  EXPECT_EQ(0, m_smo_opt.sm_opt_uninit());  // the window's
  EXPECT_NE(-1, shmget(key, 0, 0));
  EXPECT_EQ(0, driver_.sm_opt_uninit());
  EXPECT_EQ(-1, shmget(key, 0, 0));
}

TEST_F(Channel, WhatAKilledHostLeftPendingIsDropped) {
  ASSERT_NE(-1, shmget(kKey, 2 * CX_SMO_SIZE, IPC_CREAT | 0666));
  Block().quit_flag = Block().msg_flag = Block().img_flag = 1;
  Block().img1_len = Block().img2_len = 3;
  Create();
  EXPECT_EQ("-4", Taken());
  PostImages("abc", 2, 0);
  EXPECT_EQ("ab+", Taken());
}

TEST_F(Channel, ABlockThatIsTooSmallIsNeverTouched) {
  ASSERT_NE(-1, shmget(kKey, 4096, IPC_CREAT | 0666));
  EXPECT_EQ(CX_DLG_FAILED, Start());
  EXPECT_EQ("", support::StandInNotes());
  EXPECT_EQ("-1", Taken());
  EXPECT_STREQ("sm_get_data. get share memory address failed. nret = [-1]",
               Reason());
  EXPECT_EQ(-1, cx_dlg_get_dlgtype());
  EXPECT_EQ(-1, cx_dlg_get_timeout());
  EXPECT_EQ(-1, m_smo_opt.sm_set_data(SMO_SET_QUIT, staging_));
}

// In a root directory of its own: "/bmp" is nobody's to make on this machine.
TEST_F(Channel, BothSidesLockTheBlockWhereTheyCan) {
  fs::create_directories("/tmp/root/bmp");
  const auto locks = [](const std::function<void()>& work) {
    unlink(kBlockLockPath);
    work();
    return access(kBlockLockPath, F_OK) == 0 && CanLock(kBlockLockPath, 0);
  };
  const pid_t other = fork();
  if (other == 0) {
    bool good = chroot("/tmp/root") == 0 && locks([&] { Create(); }) &&
                locks([&] { PostText("text"); }) && locks([&] { Taken(); });
    CxMutexCls stranger;
    stranger.mutex_init(kBlockLockPath, 0);
    good = good && stranger.mutex_lock() == 0;
    PostText("no exclusion, but a window");
    _exit(good && Taken() == "no exclusion, but a window" ? 0 : 1);
  }
  int status = 1;
  EXPECT_EQ(other, waitpid(other, &status, 0));
  EXPECT_EQ(0, status);
}

TEST(BlockLock, HasOneHolderAtATimeAndCostsNoDescriptors) {
  close(0);  // a host without standard input: the lock's descriptor is 0
  CxMutexCls holder;
  holder.mutex_init("/tmp/lock", 0);
  EXPECT_EQ(0, holder.mutex_lock());
  EXPECT_EQ(0, holder.mutex_lock());  // does not wait for itself
  const int free_file = LowestFreeFile();
  EXPECT_FALSE(CanLock("/tmp/lock", 0));
  EXPECT_FALSE(CanLock("/none/lock", INT_MAX));
  EXPECT_EQ(free_file, LowestFreeFile());
  EXPECT_EQ(0, holder.mutex_unlock());
  EXPECT_EQ(0, LowestFreeFile());
  EXPECT_TRUE(CanLock("/tmp/lock", 0));
}

TEST(BlockLock, IsHadWhenItsHolderDiesWithinTheTimeout) {
  FILE* const holder = popen("flock /tmp/lock sh -c 'echo; sleep 0.1'", "r");
  EXPECT_EQ('\n', fgetc(holder));
  EXPECT_TRUE(CanLock("/tmp/lock", 60000));
  pclose(holder);
}

TEST_F(Channel, CarriesEverythingToTheProgram) {
  // Relative to the executable, wherever the host works.
  const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
  ASSERT_EQ(0, chdir("/"));
  const fs::path program = InstallStandIn("/tmp/a", StandIn::kObeys);
  const int32_t process =
      cx_dlg_init(1, 30, fs::relative(program, here).c_str());
  ASSERT_GT(process, 0);
  EXPECT_TRUE(StandInNoted("start 10 1 30"));
  EXPECT_EQ(CX_DLG_NOT_RUNNING, m_smo_opt.sm_app_running("cx_cap"));
  EXPECT_EQ(0, SendText(" 请您第一次按捺手指..."));
  EXPECT_TRUE(StandInNoted("text  请您第一次按捺手指..."));
  EXPECT_EQ(0, SendImages("abc", 3, nullptr, 0));
  EXPECT_TRUE(StandInNoted("images 3 0"));
  EXPECT_EQ(0, SendImages(nullptr, 0, "ab", 2));
  EXPECT_TRUE(StandInNoted("images 3 2"));
  EXPECT_EQ(0, cx_dlg_uninit());
  EXPECT_TRUE(IsGone(process));
  EXPECT_FALSE(SegmentExists());
  EXPECT_EQ(nullptr, m_smo_data);
  EXPECT_TRUE(StandInNoted("quit"));
  EXPECT_STREQ("string_version: 1.0.0.2", _libver_);
}

TEST_F(Channel, AProgramThatClosesIsMissedAndNoSignalHidesOneThatRuns) {
  const int32_t process = Start();
  struct sigaction action {};
  action.sa_handler = [](int) {};  // no SA_RESTART
  sigaction(SIGALRM, &action, nullptr);
  const itimerval often{{0, 2000}, {0, 2000}};
  setitimer(ITIMER_REAL, &often, nullptr);
  const int free_file = LowestFreeFile();
  for (int i = 0; i < 20; ++i) EXPECT_EQ(0, SendText("text"));
  EXPECT_EQ(free_file, LowestFreeFile());
  EXPECT_EQ(0, cx_dlg_send_data(SMO_SET_QUIT, nullptr, 0, nullptr, 0));
  EXPECT_TRUE(IsGone(process));
  EXPECT_EQ(CX_DLG_NOT_RUNNING, SendText("text"));
  EXPECT_STREQ(
      "sm_app_running. app exited. nret = [-20] appname = [/tmp/a/cx_capdlg]",
      Reason());
}

TEST_F(Channel, RefusesBadArgumentsBeforeItLooksForTheProgram) {
  static const uint8_t large[CX_SMO_IMAGE_BYTES + 1] = {};
  EXPECT_EQ(CX_DLG_NOT_INITIALISED, SendText("text"));
  const int32_t process = Start();
  EXPECT_EQ(-3, SendImages("a", 0, "b", -1));
  EXPECT_EQ(-3, SendImages(nullptr, 1, nullptr, 0));
  EXPECT_EQ(-3, SendImages("a", 1, nullptr, 1));
  EXPECT_EQ(-3, SendImages(large, CX_SMO_IMAGE_BYTES + 1, "b", 1));
  EXPECT_EQ(-3, SendImages("a", 1, large, CX_SMO_IMAGE_BYTES + 1));
  EXPECT_EQ(0, SendImages(large, CX_SMO_IMAGE_BYTES, "b", 1));
  EXPECT_EQ(-3, SendText(nullptr));
  EXPECT_EQ(-3, cx_dlg_send_data(SMO_SET_QUIT, nullptr, 1, nullptr, 0));
  EXPECT_EQ(process, cx_dlg_send_data(SMO_SET_DLGINFO, "a", 1, nullptr, 0));
  EXPECT_EQ(-3, cx_dlg_init(1, 1, nullptr));
  EXPECT_EQ(-3, cx_dlg_recv_data(nullptr, nullptr));
  EXPECT_EQ(-3, cx_dlg_get_errinf(nullptr));
}

// Another process's session may be using the block.
TEST_F(Channel, AMissingProgramAsksNobodyToClose) {
  EXPECT_EQ(-18, cx_dlg_init(1, 30, "/tmp/none"));
  EXPECT_STREQ("app file is not exist. nret = [-18] [/tmp/none]", Reason());
  EXPECT_EQ(nullptr, m_smo_data);
  EXPECT_EQ(CX_DLG_NOT_INITIALISED, SendText("text"));
  EXPECT_EQ("-4", Taken());
  EXPECT_EQ(-18, cx_dlg_init(1, 30, std::string(5000, 'n').c_str()));
  char text[CX_DLG_ERRINF_BYTES];
  EXPECT_EQ(CX_DLG_ERRINF_BYTES - 1, cx_dlg_get_errinf(text));
}

TEST_F(Channel, OneProgramRunsAtATimeAndOneThatWillNotCloseIsKilled) {
  const std::string path = InstallStandIn("/tmp/a", StandIn::kStubborn);
  const int32_t old = driver_.sm_run_appfile(path);
  const int32_t first = cx_dlg_init(1, 30, kProgram);
  ASSERT_TRUE(old > 0 && first > 0);
  EXPECT_TRUE(IsGone(old));
  EXPECT_GT(cx_dlg_init(1, 30, kProgram), 0);
  EXPECT_TRUE(IsGone(first));
  EXPECT_TRUE(StandInNoted("quit"));  // it was asked first
  EXPECT_STREQ("priExitAppRun. force exit of app ... [/tmp/a/cx_capdlg]",
               Reason());
  EXPECT_EQ(0, SendText("text"));
}

TEST_F(Channel, APathIsNoShellCommand) {
  const std::string every = "aZ9/._-+ ;$`'\n*~&|<>\"\\#()?[]!{}=%^@:,";
  std::string words;
  for (const char c : every) words += " " + corvex::ShellWord({c});
  EXPECT_EQ(every, corvex::log_run_cmd("printf '%s'" + words + "; echo"));
  const fs::path program = "/tmp/a b;touch `id`$(id)&/it's;x";
  fs::create_directories(program.parent_path());
  fs::copy(InstallStandIn("/tmp/a", StandIn::kObeys), program);
  const int32_t process = cx_dlg_init(1, 30, program.c_str());
  ASSERT_GT(process, 0);
  EXPECT_EQ(0, cx_dlg_uninit());
  EXPECT_TRUE(IsGone(process));
}

// It cannot be seen, so the call fails; it must not stay on the screen.
TEST_F(Channel, WithoutPgrepTheProgramIsAskedToCloseAgain) {
  setenv("PATH", "/nowhere", 1);
  EXPECT_EQ(CX_DLG_FAILED, Start());
  EXPECT_STREQ("app file run failed. nret = [-18] [/tmp/a/cx_capdlg]",
               Reason());
  EXPECT_TRUE(StandInNoted("quit"));
}

// "kill -9 0" would end the host. And where process 1 takes no note of its
// orphans' end, a closed window would be found for ever.
TEST_F(Channel, OnlyAProcessThatRunsIsFound) {
  const pid_t ended = fork();
  if (ended == 0) _exit(0);
  siginfo_t info{};
  waitid(P_PID, static_cast<id_t>(ended), &info, WEXITED | WNOWAIT);
  const std::string zombie = std::to_string(ended);
  fs::create_directory("/tmp/bin");
  setenv("PATH", "/tmp/bin:/usr/bin:/bin", 1);
  const auto find = [](const std::string& output) {
    support::WriteFile("/tmp/bin/pgrep", "#!/bin/sh\necho '" + output + "'\n");
    fs::permissions("/tmp/bin/pgrep", fs::perms::owner_all);
    return m_smo_opt.sm_app_running("cx_capdlg");
  };
  EXPECT_EQ(4321, find(zombie + "\n4321\n4400"));
  for (const char* output : {zombie.c_str(), "0", "-1", "no 7"}) {
    EXPECT_EQ(CX_DLG_NOT_RUNNING, find(output)) << output;
  }
}

TEST_F(Channel, APromptProgramMayChangeItsDirectoryAndComeBack) {
  ASSERT_EQ(0, chdir("/tmp"));
  EXPECT_EQ(0, m_smo_opt.smo_chdir(true, "/usr/cx_capdlg"));
  EXPECT_EQ("/usr", fs::current_path());
  EXPECT_EQ(0, m_smo_opt.smo_chdir(false, ""));
  EXPECT_EQ("/tmp", fs::current_path());
  EXPECT_EQ(-1, m_smo_opt.smo_chdir(true, "/none/cx_capdlg"));
}

TEST_F(Channel, AHostMayExitInMidSessionAndCallAfterThat) {
  const pid_t host = fork();
  if (host == 0) {
    g_calls_late = true;
    cx_dlg_init(1, 30, "/tmp/none");  // leaves a reason that ends too
    if (Start(StandIn::kStubborn) > 0) exit(0);
    _exit(2);
  }
  int status = 1;
  EXPECT_EQ(host, waitpid(host, &status, 0));
  EXPECT_EQ(0, status);
  EXPECT_FALSE(SegmentExists());
}

}  // namespace
