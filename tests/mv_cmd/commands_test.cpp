#include "mv_cmd/commands.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "line_fixture.h"
#include "mv_base/transcript.h"

namespace {

class CommandTest : public LineTest {
 protected:
  // The command sends `request` and, given this reply, returns the result and
  // writes `out`, terminators included.
  void Expect(const std::function<int32_t(int32_t fd, char* out)>& command,
              const std::string& request, const std::string& reply,
              int32_t result, const std::string& out = "") {
    SCOPED_TRACE(request + " " + reply);
    constexpr char kUntouched = '#';
    std::memset(out_, kUntouched, sizeof out_);
    Reply(reply);
    EXPECT_EQ(result, command(port_, out_));
    EXPECT_EQ(out,
              std::string(out_, std::find(out_, std::end(out_), kUntouched)));
    ExpectSent(request);
    tcflush(port_, TCIFLUSH);
  }

  char out_[2048];
};

int32_t Feature(int32_t fd, char* out) {
  return corvex_get_feature(fd, reinterpret_cast<uint8_t*>(out), 0);
}

int32_t FeatureText(int32_t fd, char* out) {
  return corvex_get_feature(fd, reinterpret_cast<uint8_t*>(out), 1);
}

TEST_F(CommandTest, EachIsItsFrameAndReadsItsReply) {
  using namespace std::string_literals;
  Expect(corvex_get_version, "~101600000000", "~10001602000000020FEC6D50E3", 5,
         "v2.15\0"s);
  Expect(corvex_get_version, "~101600000000", "~10001602000000FFFF0000FFFF", 8,
         "v255.255\0"s);
  Expect(corvex_get_version, "~101600000000", "~10001600000000", 4, "v0.0\0"s);
  Expect(corvex_get_version, "~101600000000", "~10021600000000", -14);

  const std::string serial = "~1516070000000E00003200000009947197";
  Expect(corvex_get_sn, serial,
         "~150016140000004D56353132302D534E2D30313233343536373839EF9F34C3", 32,
         "MV5120-SN-0123456789" + std::string(12, '\0'));
  Expect(corvex_get_sn, serial,
         "~150016230000004D5635313230534E30313233343536373839303132333435363732"
         "34303331352B2B2B49B74FF3",
         32, "MV5120SN012345678901234567240315");  // 35 came

  const auto check = [](int32_t fd, char*) { return corvex_get_check(fd); };
  Expect(check, "~131601000000008DEF02D2", "~13071600000000", -7);
  Expect(check, "~131601000000008DEF02D2", "~13001600000000", 0);
  Expect(check, "~131601000000008DEF02D2", "~13021600000000", -14);

  const std::string feature = "~141601000000011BDF05A5";
  const std::string k17 =
      "~140016110000000102030405060708090A0B0C0D0E0F101175410172";
  const std::string k16 =
      "~140016100000000102030405060708090A0B0C0D0E0F10F1804C09";
  Expect(Feature, feature, k17, 17,
         "\x1\x2\x3\x4\x5\x6\x7\x8\x9\xA\xB\xC\xD\xE\xF\x10\x11");
  Expect(FeatureText, feature, k17, 24, "AQIDBAUGBwgJCgsMDQ4PEBE=\0"s);
  Expect(FeatureText, feature, k16, 16);  // too short for a feature
  Expect(FeatureText, feature, "~14001600000000", 0);
  Expect(Feature, feature, "~14071600000000", -14);

  const auto led = [](int32_t fd, char*) { return corvex_set_led(fd, 9); };
  Expect(led, "~171602000000000AE1FB0CA1", "~17001600000000", 0);
  const auto beep = [](int32_t fd, char*) {
    corvex_set_beep(fd, 9);
    return 0;
  };
  Expect(beep, "~171602000000010AA0CA17B8", "~17051600000000", 0);
  const auto speed = [](int32_t fd, char*) { return corvex_set_rate(fd, 3); };
  Expect(speed, "~1216010000000337BE0B4B", "~12001600000000", 0);
  const auto box = [](int32_t fd, char*) { return corvex_set_bpbox(fd, "B2"); };
  Expect(box, "\x1B%B", "", 3);
  ExpectTranscript(MV_EXPECTED, TakenLog());
}

TEST_F(CommandTest, ABadArgumentSendsNothing) {
  for (const char* wrong : {"b", "", "D", " A"}) {
    EXPECT_EQ(-1, corvex_set_bpbox(port_, wrong)) << wrong;
  }
  const int32_t results[] = {corvex_set_bpbox(port_, nullptr),
                             corvex_set_bpbox(-1, "A"),
                             corvex_set_rate(port_, 8),
                             corvex_set_rate(port_, -1),
                             corvex_set_rate(-1, 3),
                             corvex_get_sn(port_, nullptr),
                             corvex_get_sn(-1, out_),
                             corvex_get_feature(port_, nullptr, 0),
                             Feature(-1, out_),
                             corvex_set_led(-1, 0),
                             corvex_get_check(-1)};
  for (const int32_t result : results) EXPECT_EQ(-1, result);
  corvex_set_beep(-1, 0);
  ExpectNothingSent();
  ExpectTranscript(MV_EXPECTED, TakenLog());
}

}  // namespace
