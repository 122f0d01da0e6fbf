// Every device call in every situation. expected/ has the transcripts: the
// result and what was written, the steps on the line and in time, the log.
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "call_fixture.h"
#include "cx_file_lock/cx_file_lock.h"
#include "mv_base/transcript.h"
#include "mv_loadso/entry_points.h"

namespace {

using support::Bytes;

// What a finger may leave on the sensor.
std::map<std::string, Bytes> Records() {
  Bytes dual = Record(30);
  dual[1] = 0x83;
  std::map<std::string, Bytes> records = {{"good", Record(30)},
                                          {"rich", Record(31)},
                                          {"dual", dual},
                                          {"stub", Bytes(16, 0x12)},
                                          {"fits", Bytes(765, 0x12)},
                                          {"long", Bytes(766, 0x12)},
                                          {"longest", Bytes(1024, 0x12)}};
  // Pairs with these scores, found by an independent implementation.
  for (const auto& row : support::ReadTestData("golden_match.tsv")) {
    const Bytes a = support::FromHex(row[2]);
    const Bytes b = support::FromHex(row[3]);
    if (a[1] >= 0x80 || b[1] >= 0x80) continue;
    records["a" + row[0]] = a;
    records["b" + row[0]] = b;
  }
  return records;
}

// Fingers are named after what they leave, capture by capture.
constexpr const char* kFingers[] = {"good",           "dual",
                                    "stub",           "fits",
                                    "long",           "longest",
                                    "good-rich-good", "good-stub-good",
                                    "good-dual-good", "longest-rich-dual",
                                    "a35-a35-b35",    "a36-a36-b36"};

// What the algorithm library says of its template, which is the third capture.
int32_t g_score;
int32_t g_template_length;

int32_t Merge(const uint8_t* captures, int32_t count, int32_t stride,
              uint8_t* tmpl, int32_t* tmpl_len, int32_t* best_index,
              int32_t zero, void* handle) {
  EXPECT_EQ(3, count);
  EXPECT_EQ(1024, stride);
  EXPECT_EQ(0, zero);
  EXPECT_EQ(&g_score, handle);
  memcpy(tmpl, captures + 2 * stride, 1024);
  *tmpl_len = g_template_length;
  *best_index = 2;
  return g_score;
}

class Calls : public CallTest {
 protected:
  Calls() {
    for (const char* const finger : kFingers) {
      int impression = 0;
      for (const std::string& name : support::Split(finger, '-')) {
        reader_.AddRecord(finger, ++impression, records_.at(name));
      }
    }
  }

  static void UseLibrary(int32_t score, int32_t template_length = 153) {
    g_score = score;
    g_template_length = template_length;
    InstallLibrary(&g_score);
    OrvSynMinut = Merge;
  }

  // Makes the call that the test is named after, while the reader does as the
  // script says; all else is as usual again afterwards.
  void In(const std::string& situation, const std::string& script) {
    const std::string call =
        testing::UnitTest::GetInstance()->current_test_info()->name();
    reader_.Run(script);
    const int code = Call(call, with_);
    Tell("# " + situation + "\n" + std::to_string(code) + " \"" + Message() +
         "\" " + Named(Out()) + "\n[" + Steps() + "]\n" + TakenLog());
    const bool delivered = code == 0 && !Message().empty();
    EXPECT_EQ(delivered ? static_cast<int>(Out().size()) - 1 : 77, length_);
    reader_.Lift();
    with_ = Usual();
    window_ = {};
    clock_is_set_back_ = false;
    RemoveLibrary();
  }

  // A record's name in place of its text.
  std::string Named(const std::string& out) const {
    for (const auto& [name, record] : records_) {
      if (out == TextOf(record) + '\0') return name;
    }
    return '"' + out + '"';
  }

  const std::map<std::string, Bytes> records_ = Records();
};

TEST_F(Calls, FG_GetDevVersion) {
  In("answer", "");
  with_.box = "K7";
  In("behind a box", "");
  with_.box = "x";
  In("no such box", "");
  with_.port = "none";
  In("no such port", "");
  In("bad reply", "crc 1");
}

TEST_F(Calls, FG_GetDevSn) {
  In("answer", "serial MV5120-SN-0123456789");
  In("bad reply", "echo 0x11");
}

TEST_F(Calls, FG_CheckPressed) {
  In("no finger", "");
  In("finger", "press good");
  In("bad reply", "status 9");
  with_.port = "none";
  In("no such port", "");
  reader_.On("~131601000000008DEF02D2").Reply("~13001601000000072E7A664C");
  In("more than a yes", "");
}

TEST_F(Calls, FG_GetFeature) {
  In("finger that comes", "wait-for probe; press good");
  EXPECT_EQ(3, reader_.Counts().speed);  // 9600 baud
  EXPECT_EQ(1, reader_.Counts().beeps);
  In("nothing to give", "press stub");
  In("just fits", "press fits");
  In("does not fit", "press long");
  In("longest reply", "press longest");
  In("damaged", "press good; flip 40 on capture");
  In("failed probe", "status 9 on probe");
  In("speed refused", "status 5");
  with_.timeout_s = 1;
  In("no finger in time", "");
  clock_is_set_back_ = true;
  In("clock set back", "press good");
  with_.box = "x";
  In("no such box", "");
  with_.port = "none";
  In("no such port", "");
}

TEST_F(Calls, FG_GetTemplate) {
  In("richer of the best pair", "press good-rich-good");
  In("enough agreement", "press a36-a36-b36");
  In("too little agreement", "press a35-a35-b35");
  In("no record", "press good-stub-good");
  In("no library", "press longest-rich-dual");
  UseLibrary(37);
  In("library", "press longest-rich-dual");
  UseLibrary(36);
  In("too little agreement in the library", "press good-dual-good");
  In("damaged", "press good; flip 40 on capture");
  In("failed probe", "status 2 on probe");
  with_.timeout_s = 3;
  In("no time for the third", "press good; wait-for captures 2; lift");
  with_.timeout_s = 0;
  with_.box = "C";
  In("no time", "");
}

TEST_F(Calls, FG_TipsGetTemplate) {
  In("no window", "press good");
  In("no record", "press good-stub-good");
  In("no library", "press dual");
  window_ = {/*opened=*/0, /*picture=*/0, /*gone_at_text=*/0};
  In("window", "press good");
  window_ = {0, 0, 3};
  In("window closed by the user", "press good");
  window_ = {0, -1, 0};
  with_.timeout_s = 1;
  In("no picture", "");
}

// Its word about the template's length is not taken for the buffer's.
TEST_F(Calls, TheLibrarysTemplateHasALengthThatItCanHave) {
  const std::pair<int32_t, int> kLengths[] = {
      {0, 0},     {256, 256},   {257, 384}, {383, 384}, {384, 384},
      {385, 385}, {1024, 1024}, {-1, -99},  {1025, -99}};
  for (const auto& [length, delivered] : kLengths) {
    UseLibrary(37, length);
    reader_.Run("press dual");
    EXPECT_EQ(std::min(delivered, 0), Call("FG_GetTemplate", with_)) << length;
    Bytes expected = records_.at("dual");
    expected.resize(static_cast<size_t>(std::max(delivered, 0)));
    EXPECT_EQ(delivered < 0 ? "" : TextOf(expected) + '\0', Out());
  }
}

TEST_F(Calls, BadArgumentsOrAHeldLockTouchNothing) {
  const std::string kCalls[] = {"FG_GetDevVersion", "FG_GetDevSn",
                                "FG_CheckPressed",  "FG_GetFeature",
                                "FG_GetTemplate",   "FG_TipsGetTemplate"};
  const auto expect = [this](int code, const std::string& call) {
    EXPECT_EQ(code, Call(call, with_)) << call;
    EXPECT_EQ("", Out() + Message() + Steps());
    EXPECT_EQ(77, length_);
  };
  const struct {
    size_t first_call;  // the calls before it have no such argument
    size_t last_call;
    void (*spoil)(Arguments* with);
  } kSpoilt[] = {{0, 5, [](Arguments* with) { with->box = nullptr; }},
                 {0, 5, [](Arguments* with) { with->speed = 115200; }},
                 {0, 1, [](Arguments* with) { with->out = nullptr; }},
                 {3, 5, [](Arguments* with) { with->out = nullptr; }},
                 {3, 5, [](Arguments* with) { with->length = nullptr; }},
                 {3, 5, [](Arguments* with) { with->message = nullptr; }},
                 {3, 5, [](Arguments* with) { with->timeout_s = -1; }},
                 {3, 3, [](Arguments* with) { with->timeout_s = 0; }},
                 {0, 5, [](Arguments* with) { with->port = nullptr; }}};
  std::string log;
  for (const auto& [first_call, last_call, spoil] : kSpoilt) {
    for (size_t i = first_call; i <= last_call; ++i) {
      spoil(&with_);
      expect(-1, kCalls[i]);
      with_ = Usual();
    }
    log = TakenLog();  // of the last one; that of the others is the same
  }
  EXPECT_NE(0, access(kCallLockPath, F_OK));  // refused before the lock
  const int32_t lock = cx_file_lock();
  for (const std::string& call : kCalls) expect(-14, call);
  cx_file_unlock(lock);
  Tell(log + TakenLog());
}

}  // namespace
