// The exported channel between this process and a stand-in for the window.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "corvex_capdlg/stand_in.h"
#include "cx_capdlg_lib.h"
#include "support/conditions.h"
#include "support/temp_file.h"

namespace {

using support::Eventually;
using support::InstallStandIn;
using support::StandIn;
using support::StandInNoted;
using support::StandInNotes;

constexpr key_t kKey = -1;  // of a key file that does not exist

bool SegmentExists() { return shmget(kKey, 0, 0) != -1; }

// Process 1 may take a moment to note its end.
bool IsGone(pid_t process) {
  return Eventually([&] { return kill(process, 0) != 0; });
}

int32_t Start(StandIn behaviour = StandIn::kObeys) {
  return cx_dlg_init(1, 30, InstallStandIn("/tmp/a", behaviour).c_str());
}

int32_t SendText(const char* text) {
  return cx_dlg_send_data(SMO_SET_MSG, text, 1, nullptr, 0);
}

class Channel : public testing::Test {
 protected:
  void TearDown() override { cx_dlg_uninit(); }
};

TEST_F(Channel, CarriesEverythingToTheProgram) {
  const int32_t process = Start();
  ASSERT_GT(process, 0);
  EXPECT_TRUE(StandInNoted("start 10 1 30"));
  EXPECT_EQ(0, SendText(" 请您第一次按捺手指..."));
  EXPECT_TRUE(StandInNoted("text  请您第一次按捺手指..."));
  EXPECT_EQ(0, cx_dlg_send_data(SMO_SET_IMAGES, "abc", 3, nullptr, 0));
  EXPECT_TRUE(StandInNoted("images 3 0"));
  EXPECT_EQ(0, cx_dlg_send_data(SMO_SET_IMAGES, nullptr, 0, "ab", 2));
  EXPECT_TRUE(StandInNoted("images 3 2"));
  EXPECT_EQ(30, cx_dlg_get_timeout());
  EXPECT_EQ(1, cx_dlg_get_dlgtype());
  EXPECT_EQ(0, cx_dlg_uninit());
  EXPECT_TRUE(IsGone(process));
  EXPECT_FALSE(SegmentExists());
  EXPECT_EQ(nullptr, m_smo_data);
  EXPECT_TRUE(StandInNoted("quit"));
}

TEST_F(Channel, ACloseRequestMayBeSentAlone) {
  const int32_t process = Start();
  EXPECT_EQ(0, cx_dlg_send_data(SMO_SET_QUIT, nullptr, 0, nullptr, 0));
  EXPECT_TRUE(IsGone(process));
  EXPECT_EQ(CX_DLG_NOT_RUNNING, SendText("text"));
  EXPECT_TRUE(SegmentExists());
}

TEST_F(Channel, RefusesBadArgumentsBeforeItLooksForTheProgram) {
  EXPECT_EQ(CX_DLG_NOT_INITIALISED, SendText("text"));
  const int32_t process = Start();
  const std::vector<uint8_t> large(CX_SMO_IMAGE_BYTES + 1);
  const struct {
    int32_t kind;
    const void* data1;
    int32_t len1;
    const void* data2;
    int32_t len2;
    int32_t expected;
  } kCases[] = {
      {SMO_SET_IMAGES, nullptr, 0, nullptr, 0, -3},
      {SMO_SET_IMAGES, "a", 0, "b", -1, -3},
      {SMO_SET_IMAGES, nullptr, 1, nullptr, 0, -3},
      {SMO_SET_IMAGES, "a", 1, nullptr, 1, -3},
      {SMO_SET_IMAGES, large.data(), CX_SMO_IMAGE_BYTES + 1, nullptr, 0, -3},
      {SMO_SET_IMAGES, "a", 1, large.data(), CX_SMO_IMAGE_BYTES + 1, -3},
      {SMO_SET_IMAGES, large.data(), CX_SMO_IMAGE_BYTES, nullptr, 0, 0},
      {SMO_SET_MSG, nullptr, 0, nullptr, 0, -3},
      {SMO_SET_QUIT, nullptr, 1, nullptr, 0, -3},
      {SMO_SET_DLGINFO, nullptr, 0, nullptr, 0, process},
      {99, "a", 1, "b", 1, process},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(c.expected,
              cx_dlg_send_data(c.kind, c.data1, c.len1, c.data2, c.len2))
        << c.kind << " " << c.len1 << " " << c.len2;
  }
  EXPECT_EQ(CX_DLG_BAD_ARGUMENT, cx_dlg_init(1, 1, nullptr));
  EXPECT_EQ(CX_DLG_BAD_ARGUMENT, cx_dlg_recv_data(nullptr, nullptr));
  EXPECT_EQ(CX_DLG_BAD_ARGUMENT, cx_dlg_get_errinf(nullptr));
}

TEST_F(Channel, AReceiverNeedsNoInit) {
  const auto item = std::make_unique<smo_data_t>();
  uint32_t bytes = 7;
  EXPECT_EQ(CX_DLG_FAILED, cx_dlg_recv_data(item.get(), &bytes));
  const int32_t process = Start();
  ASSERT_GT(process, 0);
  item->msg_text[0] = 'x';
  EXPECT_EQ(CX_DLG_NOTHING, cx_dlg_recv_data(item.get(), &bytes));
  EXPECT_EQ('\0', item->msg_text[0]);
  EXPECT_EQ(7u, bytes);
  ASSERT_EQ(0, kill(process, SIGSTOP));  // it leaves the next item to us
  EXPECT_EQ(0, SendText("text"));
  EXPECT_EQ(1, cx_dlg_recv_data(item.get(), &bytes));
  EXPECT_STREQ("text", item->msg_text);
  EXPECT_EQ(uint32_t{CX_SMO_SIZE}, bytes);
  ASSERT_EQ(0, kill(process, SIGKILL));
}

TEST_F(Channel, AMissingProgramLeavesNothingStarted) {
  EXPECT_EQ(CX_DLG_NO_PROGRAM, cx_dlg_init(1, 30, "/tmp/none"));
  char text[CX_DLG_ERRINF_BYTES];
  const int32_t length = cx_dlg_get_errinf(text);
  EXPECT_EQ(length, static_cast<int32_t>(strlen(text)));
  EXPECT_NE(nullptr, strstr(text, "app file is not exist. nret = [-18]"));
  EXPECT_EQ(nullptr, m_smo_data);
  EXPECT_EQ(CX_DLG_NOT_INITIALISED, SendText("text"));
  EXPECT_EQ(0, cx_dlg_uninit());
}

TEST_F(Channel, ASecondInitStartsTheProgramAnew) {
  const int32_t first = Start();
  ASSERT_GT(first, 0);
  const int32_t second = cx_dlg_init(1, 30, "/tmp/a/cx_capdlg");
  ASSERT_GT(second, 0);
  EXPECT_NE(first, second);
  EXPECT_TRUE(IsGone(first));
  EXPECT_EQ(0, SendText("text"));
}

TEST_F(Channel, AProgramThatWillNotCloseIsKilled) {
  const int32_t process = Start(StandIn::kStubborn);
  ASSERT_GT(process, 0);
  EXPECT_EQ(0, cx_dlg_uninit());
  EXPECT_TRUE(IsGone(process));
  EXPECT_FALSE(SegmentExists());
}

TEST_F(Channel, APathWithBlanksAndQuotesWorksToTheEnd) {
  const std::string path = InstallStandIn("/tmp/it's a b", StandIn::kObeys);
  const int32_t process = cx_dlg_init(1, 30, path.c_str());
  ASSERT_GT(process, 0);
  EXPECT_EQ(0, SendText("text"));
  EXPECT_EQ(0, cx_dlg_uninit());
  EXPECT_TRUE(IsGone(process));
}

TEST_F(Channel, AHostThatIgnoresItsChildrenLosesNothing) {
  signal(SIGCHLD, SIG_IGN);
  const int32_t process = Start();
  ASSERT_GT(process, 0);
  EXPECT_EQ(0, SendText("text"));
  EXPECT_TRUE(StandInNoted("text text"));
  EXPECT_EQ(0, cx_dlg_uninit());
  EXPECT_TRUE(IsGone(process));
}

// It cannot be seen, so the call fails; it must not stay on the screen.
TEST_F(Channel, WithoutPgrepTheProgramIsAskedToCloseAgain) {
  setenv("PATH", "/nowhere", 1);
  EXPECT_EQ(CX_DLG_FAILED, Start());
  EXPECT_TRUE(StandInNoted("start 10 1 30"));
  EXPECT_TRUE(StandInNoted("quit"));
  EXPECT_EQ(CX_DLG_NOT_INITIALISED, SendText("text"));
}

TEST_F(Channel, ALeftOverSegmentOfAnotherSizeIsAFailure) {
  ASSERT_NE(-1, shmget(kKey, 4096, IPC_CREAT | 0666));
  EXPECT_EQ(CX_DLG_FAILED, Start());
  EXPECT_EQ(nullptr, m_smo_data);
  EXPECT_EQ("", StandInNotes());
}

TEST_F(Channel, AHostsExitRemovesTheSegment) {
  const std::string path = InstallStandIn("/tmp/a", StandIn::kStubborn);
  const pid_t host = fork();
  if (host == 0) exit(cx_dlg_init(1, 30, path.c_str()) > 0 ? 0 : 1);
  int status = 0;
  ASSERT_EQ(host, waitpid(host, &status, 0));
  EXPECT_EQ(0, status);
  EXPECT_FALSE(SegmentExists());
}

TEST_F(Channel, ClosingTheLibraryUnloadsItAndRemovesTheSegment) {
  void* const library = dlopen(CHANNEL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(nullptr, library) << dlerror();
  const auto init =
      reinterpret_cast<decltype(&cx_dlg_init)>(dlsym(library, "cx_dlg_init"));
  ASSERT_NE(nullptr, init);
  const auto version =
      static_cast<const char* const*>(dlsym(library, "_libver_"));
  ASSERT_NE(nullptr, version);
  EXPECT_STREQ("string_version: 1.0.0.2", *version);
  EXPECT_NE(nullptr, dlsym(library, "m_smo_opt"));
  EXPECT_NE(nullptr, dlsym(library, "m_smo_data"));
  EXPECT_GT(init(1, 30, InstallStandIn("/tmp/a", StandIn::kObeys).c_str()), 0);
  EXPECT_TRUE(SegmentExists());
  EXPECT_EQ(0, dlclose(library));
  EXPECT_EQ(nullptr, dlopen(CHANNEL_PLUGIN, RTLD_NOW | RTLD_NOLOAD));
  EXPECT_FALSE(SegmentExists());
}

}  // namespace
