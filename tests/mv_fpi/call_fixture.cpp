#include "call_fixture.h"

#include <dlfcn.h>
#include <sys/select.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <map>

#include "cx_dlg/prompt_client.h"
#include "mv_base/base64.h"
#include "mv_base/transcript.h"
#include "mv_loadso/algorithm_library.h"
#include "support/conditions.h"
#include "support/pty.h"
#include "support/temp_file.h"

namespace {

CallTest* g_test = nullptr;
int64_t g_paused_ms = 0;
constexpr char kUntouched = '#';

}  // namespace

// At noon: no pause leads into another day, where the log would be off.
extern "C" time_t time(time_t* out) noexcept {
  const time_t now = 1732708800 + g_paused_ms / 1000;
  if (out != nullptr) *out = now;
  return now;
}

int select(int count, fd_set* in, fd_set* out, fd_set* other, timeval* wait) {
  if (count == 0 && g_test != nullptr) {
    g_test->LookInPause();
    const int64_t ms = wait->tv_sec * 1000 + wait->tv_usec / 1000;
    g_paused_ms += g_test->clock_is_set_back_ ? -ms : ms;
    g_test->Note(std::to_string(ms));
    return 0;
  }
  static const auto real =
      reinterpret_cast<decltype(&select)>(dlsym(RTLD_NEXT, "select"));
  return real(count, in, out, other, wait);
}

// Where the driver closes the port: the next host may not open it before.
int tcsetattr(int fd, int when, const termios* settings) noexcept {
  EXPECT_FALSE(when == TCSADRAIN && support::LockIsFree());
  static const auto real =
      reinterpret_cast<decltype(&tcsetattr)>(dlsym(RTLD_NEXT, "tcsetattr"));
  return real(fd, when, settings);
}

int32_t cx_init_fp_dlg(int32_t timeout_s) {
  g_test->Note("open " + std::to_string(timeout_s));
  return g_test->window_.opened;
}

int32_t cx_set_fp_white_img(int32_t bytes) {
  g_test->Note("picture " + std::to_string(bytes));
  return g_test->window_.picture;
}

int32_t cx_set_fp_msg_dlg(const char* text) {
  g_test->Note(text);
  return --g_test->window_.gone_at_text == 0 ? -20 : -1;
}

void cx_uninit_fp_dlg() { g_test->Note("close"); }

support::Bytes Record(int count) {
  support::Bytes record = {0x12, 0, static_cast<uint8_t>(count)};
  for (int i = 0; i < count; ++i) {
    const int direction = i * 47 % 360;
    for (const int byte : {20 + i * 37 % 215, 20 + i * 91 % 215,
                           direction & 255, direction >> 8 | 50 << 1, 0}) {
      record.push_back(static_cast<uint8_t>(byte));
    }
  }
  return record;
}

std::string TextOf(const support::Bytes& record) {
  const auto bytes = static_cast<int32_t>(record.size());
  std::string text(static_cast<size_t>(Base64Length(bytes)) + 1, '\0');
  EncodeB64(text.data(), record.data(), bytes);
  text.pop_back();
  return text;
}

void InstallLibrary(void* handle) {
  MvViewDexit = [](void*) { return 0; };
  g_ga_so_handle = dlopen(nullptr, RTLD_NOW);
  g_ga_alg_handle = handle;
  g_is_ga_alg_ok = 0;
}

void RemoveLibrary() { cx_free_ga_so(); }

CallTest::CallTest() {
  g_test = this;
  support::SwitchLogOn();
}

CallTest::~CallTest() { g_test = nullptr; }

void CallTest::SetUp() {
  settings_ = reader_.TerminalSettings();
  descriptors_ = support::OpenDescriptors();
}

void CallTest::TearDown() {
  EXPECT_TRUE(support::LockIsFree());
  EXPECT_TRUE(support::SameSettings(settings_, reader_.TerminalSettings()));
  EXPECT_EQ(descriptors_, support::OpenDescriptors());
  EXPECT_EQ(std::vector<std::string>{}, reader_.Errors());
  TakenLog();  // looks for records in what the test did not look at
  if (!told_.empty()) ExpectTranscript(MV_EXPECTED, told_);
}

void CallTest::StartCall() {
  memset(out_, kUntouched, sizeof out_);
  memset(message_, kUntouched, sizeof message_);
  length_ = 77;
  steps_.clear();
  requests_seen_ = reader_.Requests().size();
  g_paused_ms += 1000 - g_paused_ms % 1000;  // time-outs are in whole seconds
}

int CallTest::Call(const std::string& name, const Arguments& with) {
  StartCall();
  const auto [port, box, speed, timeout_s, out, length, message] = with;
  if (name == "FG_GetDevVersion") {
    return FG_GetDevVersion(port, box, speed, out);
  }
  if (name == "FG_GetDevSn") return FG_GetDevSn(port, box, speed, out);
  if (name == "FG_CheckPressed") return FG_CheckPressed(port, box, speed);
  const auto capture = name == "FG_GetFeature"    ? FG_GetFeature
                       : name == "FG_GetTemplate" ? FG_GetTemplate
                                                  : FG_TipsGetTemplate;
  return capture(port, box, speed, timeout_s, out, length, message);
}

void CallTest::Note(const std::string& step) {
  if (!notes_steps_) return;
  static const std::map<std::string, std::string> kCommands = {
      {"~10", "version"}, {"~12", "speed"}, {"~13", "probe"}, {"~14", "read"},
      {"~15", "serial"},  {"~17", "beep"},  {"\x1B%A", "A"},  {"\x1B%B", "B"},
      {"\x1B%C", "C"},    {"\x1B%K", "K"},
  };
  const std::vector<std::string> requests = reader_.Requests();
  for (; requests_seen_ < requests.size(); ++requests_seen_) {
    steps_ += kCommands.at(requests[requests_seen_].substr(0, 3)) + " ";
  }
  if (!step.empty()) steps_ += step + " ";
}

std::string CallTest::Out() const {
  return {out_, std::find(out_, std::end(out_), kUntouched)};
}

std::string CallTest::Message() const {
  return {message_, std::find(message_, std::end(message_), kUntouched)};
}

std::string CallTest::Steps() {
  Note("");
  return steps_.substr(0, steps_.find_last_not_of(' ') + 1);
}

void CallTest::Tell(std::string text) {
  std::replace(text.begin(), text.end(), '\0', '~');
  told_ += text;
}
