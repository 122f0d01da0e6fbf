// The serial port, the frames on it and the reader's commands, with the test at
// the other end of the line. Frames are literal: a builder shared with the
// driver would hide a shared mistake. Waiting in vain takes no time.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>
#include <utility>

#include "mv_base/transcript.h"
#include "mv_cmd/commands.h"
#include "mv_cmd/frame.h"
#include "mv_cmd/serial_port.h"
#include "support/pty.h"

namespace {

bool g_waits_last = false;
int64_t g_waited_ms = 0;
bool g_may_drain_for_ever = false;
bool g_has_memory = true;

}  // namespace

// How the driver takes the memory for a reply.
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return g_has_memory ? ::operator new[](size) : nullptr;
}

// The kernel's, noting a wait for output that the far side may hold back.
int tcsetattr(int fd, int when, const termios* wanted) noexcept {
  static const auto real =
      reinterpret_cast<decltype(&tcsetattr)>(dlsym(RTLD_NEXT, "tcsetattr"));
  termios present{};
  tcgetattr(fd, &present);
  const bool waits = when != TCSANOW;
  g_may_drain_for_ever |= waits && (present.c_cflag & CRTSCTS) != 0;
  return real(fd, when, wanted);
}

int select(int count, fd_set* in, fd_set* out, fd_set* other, timeval* wait) {
  static const auto real =
      reinterpret_cast<decltype(&select)>(dlsym(RTLD_NEXT, "select"));
  if (g_waits_last) return real(count, in, out, other, wait);
  timeval none{};
  const int ready = real(count, in, out, other, &none);
  if (ready == 0) g_waited_ms += wait->tv_sec * 1000 + wait->tv_usec / 1000;
  return ready;
}

namespace {

using namespace std::string_literals;

class LineTest : public testing::Test {
 protected:
  LineTest() { support::SwitchLogOn(); }
  ~LineTest() override { corvex_close_uart(port_); }

  // The port can read all of it from now on.
  void Reply(const std::string& text) const {
    pty_.Send(text);
    int arrived = 0;
    while (arrived < static_cast<int>(text.size())) {
      ASSERT_EQ(0, ioctl(port_, FIONREAD, &arrived));
    }
  }

  void ExpectNothingSent() const {
    corvex_write_data(port_, reinterpret_cast<const uint8_t*>("."), 1);
    EXPECT_EQ(".", pty_.Receive(1));
  }

  // How long the port was waited for in vain since the last look.
  static int64_t WaitedMs() { return std::exchange(g_waited_ms, 0); }

  // The command sends `request` and, given this reply, returns the result and
  // writes `out`, terminators included.
  void Expect(const std::function<int32_t(int32_t fd, char* out)>& command,
              const std::string& request, const std::string& reply,
              int32_t result, const std::string& out = "",
              int64_t waited_ms = 0) {
    SCOPED_TRACE(request + " " + reply);
    constexpr char kUntouched = '#';
    std::memset(out_, kUntouched, sizeof out_);
    Reply(reply);
    EXPECT_EQ(result, command(port_, out_));
    char* const end = std::find(out_, std::end(out_), kUntouched);
    EXPECT_EQ(out, std::string(out_, end));
    EXPECT_EQ(request, pty_.Receive(request.size()));
    EXPECT_EQ(waited_ms, WaitedMs());
    tcflush(port_, TCIFLUSH);  // what a refused reply still had to say
  }

  support::Pty pty_;
  const int32_t port_ = corvex_open_uart(pty_.Name().c_str());
  char out_[2048];
  uint8_t buf_[64] = {};
};

class SerialPort : public LineTest {
 protected:
  int32_t Open() const { return corvex_open_uart(pty_.Name().c_str()); }
  std::string Text() const { return reinterpret_cast<const char*>(buf_); }
};

TEST_F(SerialPort, OpensRawAndGivesTheSettingsBack) {
  const int slave =
      open(("/dev/" + pty_.Name()).c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  Reply("stale\n");
  termios odd = pty_.Settings();
  odd.c_iflag = IGNBRK | BRKINT | PARMRK | ISTRIP | INPCK | IXANY | ICRNL |
                INLCR | IGNCR | IUCLC | IXON | IXOFF;
  odd.c_oflag = OPOST | ONLCR;
  odd.c_lflag = ICANON | ECHO | ISIG;
  odd.c_cflag = CS7 | PARENB | CSTOPB | CRTSCTS | B1200;
  odd.c_cc[VMIN] = 7;
  odd.c_cc[VTIME] = 7;
  ASSERT_EQ(0, tcsetattr(slave, TCSANOW, &odd));
  odd = pty_.Settings();
  const int32_t fd = Open();
  ASSERT_GE(fd, 0);
  termios raw = odd;
  raw.c_iflag = IGNBRK | BRKINT | PARMRK | ISTRIP | INPCK | IXANY;
  raw.c_oflag = 0;
  raw.c_lflag = 0;
  raw.c_cflag = CS8 | CLOCAL | CREAD | CRTSCTS | B9600;
  raw.c_cc[VMIN] = 1;
  raw.c_cc[VTIME] = 0;
  cfsetispeed(&raw, B9600);
  EXPECT_TRUE(support::SameSettings(raw, pty_.Settings()));
  EXPECT_NE(0, fcntl(fd, F_GETFL) & O_NONBLOCK);
  Reply("fresh");
  EXPECT_EQ(5, corvex_read_data(fd, buf_, 5));
  EXPECT_EQ("fresh", Text());
  // The close drains without flow control, and then restores that too.
  EXPECT_EQ(0, corvex_close_uart(fd));
  EXPECT_FALSE(g_may_drain_for_ever);
  EXPECT_TRUE(support::SameSettings(odd, pty_.Settings()));
  EXPECT_EQ(-1, fcntl(fd, F_GETFD));
  close(slave);
}

TEST_F(SerialPort, AWrongNameCostsNoDescriptor) {
  support::WriteFile("/tmp/plain", "not a terminal");
  const int before = support::OpenDescriptors();
  EXPECT_EQ(-1, corvex_open_uart(nullptr));
  EXPECT_EQ(-1, corvex_open_uart("no_such_port"));
  EXPECT_EQ(-1, corvex_open_uart("../tmp/plain"));
  EXPECT_EQ(before, support::OpenDescriptors());
  ExpectTranscript(MV_EXPECTED, TakenLog());
  // Cut where the room ends it would be this port's.
  constexpr size_t kRoom = 511;
  std::string name = pty_.Name();
  while (strlen("/dev/") + name.size() < kRoom) name.insert(0, "/");
  const int32_t port = corvex_open_uart(name.c_str());
  EXPECT_GE(port, 0);
  corvex_close_uart(port);
  EXPECT_EQ(-1, corvex_open_uart((name + "0").c_str()));
}

TEST_F(SerialPort, WaitsEndAndSayHow) {
  EXPECT_EQ(-2, corvex_wait_data(port_, 1250));
  EXPECT_EQ(1250, WaitedMs());
  EXPECT_EQ(0, wait_read(port_, 1250));
  EXPECT_EQ(1250, WaitedMs());
  Reply("abc");
  EXPECT_EQ(0, corvex_wait_data(port_, 20));
  EXPECT_EQ(port_, wait_read(port_, 20));
  buf_[3] = '#';
  EXPECT_EQ(3, corvex_read_data(port_, buf_, 10));
  EXPECT_EQ("abc", Text());
  EXPECT_EQ(10000, WaitedMs());
  Reply("xyz");
  buf_[3] = '#';
  EXPECT_EQ(3, corvex_read_rate_data(port_, buf_, 3));
  EXPECT_EQ("xyz", Text());
  EXPECT_EQ(-9, corvex_wait_data(1000000, 1));  // beyond what select watches
  EXPECT_EQ(-9, corvex_wait_data(-1, 1));
  EXPECT_EQ(-1, wait_read(1000000, 1));
  EXPECT_EQ(-1, corvex_read_data(port_, buf_, 0));
  EXPECT_EQ(-1, corvex_read_rate_data(port_, buf_, 0));
  EXPECT_EQ(-1, corvex_write_data(port_, nullptr, 1));
  ExpectTranscript(MV_EXPECTED, TakenLog());
}

// Closing leaves it open, and to a wait its data and a time-out are one number.
TEST_F(SerialPort, DescriptorZeroIsAPortLikeAnyOther) {
  close(0);
  ASSERT_EQ(0, Open());
  EXPECT_EQ(-11, corvex_read_rate_data(0, buf_, 1));
  EXPECT_EQ(0, corvex_close_uart(0));
  EXPECT_NE(-1, fcntl(0, F_GETFD));
}

// Without the hang-up rule these reads would spin for ever.
TEST_F(SerialPort, AnUnpluggedAdapterEndsEveryReadAtOnce) {
  Reply("ab");
  EXPECT_EQ(2, corvex_read_data(port_, buf_, 2));
  pty_.HangUp();
  EXPECT_EQ(0, corvex_read_data(port_, buf_, 5));
  EXPECT_EQ(-11, corvex_read_rate_data(port_, buf_, 5));
  EXPECT_EQ(-1, corvex_write_data(port_, buf_, 1));
  EXPECT_EQ(0, WaitedMs());
}

TEST_F(SerialPort, ASignalEndsAnOrdinaryWaitAndResumesAnother) {
  g_waits_last = true;
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  const itimerval often = {{0, 20000}, {0, 20000}};
  setitimer(ITIMER_REAL, &often, nullptr);
  EXPECT_EQ(-9, corvex_wait_data(port_, 10000));
  EXPECT_EQ(0, wait_read(port_, 200));
}

class Frames : public LineTest {
 protected:
  // The version is the first two bytes of a reply, so the shortest way to one.
  void ExpectOf(const std::string& reply, int32_t result,
                const std::string& version = "", int64_t waited_ms = 0) {
    Expect(corvex_get_version, "~101600000000", reply, result, version,
           waited_ms);
  }
};

TEST_F(Frames, AReplyIsTakenOrRefused) {
  ExpectOf("~10001602000000020FEC6D50E3", 5, "v2.15\0"s);
  ExpectOf("~10001602000000020fec6d50e3", 5, "v2.15\0"s);
  ExpectOf("~10001602000000FFFF0000FFFF", 8, "v255.255\0"s);
  ExpectOf("~10001600000000", 4, "v0.0\0"s);     // no checksum to wait for
  ExpectOf("~10001602000000030FEC6D50E3", -8);   // a changed character
  ExpectOf("~11001602000000020FEC6D50E3", -14);  // another command's
  ExpectOf("!10001602000000020FEC6D50E3", -14);  // no start mark
  ExpectOf("~10001702000000020FEC6D50E3", -14);  // another marker
  ExpectOf("~10051600000000", -14);              // the reader's error
  ExpectOf("~10071600000000", -14);              // no finger, but no probe
  ExpectOf("ZZZZZZZZZZZZZZZ", -14);
  ExpectOf("~10001601040000", -3);  // 1025 bytes
  ExpectOf("~100016FFFFFF7F", -3);
  ExpectOf("~100016FFFFFFFF", 4, "v0.0\0"s);  // negative: no data
  ExpectTranscript(MV_EXPECTED, TakenLog());
}

TEST_F(Frames, AReplyThatBreaksOffIsGivenUpWhereItBreaks) {
  ExpectOf("", -11, "", 10000);
  ExpectOf("~10001", -14, "", 10000);
  ExpectOf("~1000160200000", -14, "", 10000);
  ExpectOf("~10001602000000", -11, "", 10000);
  ExpectOf("~10001602000000020", -11, "", 20000);
  ExpectOf("~10001602000000020F", -11, "", 10000);
  ExpectOf("~10001602000000020FEC6D50E", -8, "", 10000);
  Reply("~1200");  // the change of speed wants all of it
  EXPECT_EQ(-11, corvex_set_rate(port_, 3));
  EXPECT_EQ(10000, WaitedMs());
  pty_.HangUp();
  EXPECT_EQ(-10, corvex_get_version(port_, out_));
  ExpectTranscript(MV_EXPECTED, TakenLog());
}

TEST_F(Frames, TheLongestPayloadIsAThousandBytes) {
  const std::vector<uint8_t> payload(1001, 'Z');
  const auto send = [&](int32_t length) {
    uint32_t out_len = 77;
    const int32_t result =
        corvex_dev_io(port_, 0x11, payload.data(), length, buf_, &out_len);
    EXPECT_EQ(77u, out_len);  // there was no data
    return result;
  };
  Reply("~11001600000000");
  EXPECT_EQ(0, send(1000));
  EXPECT_EQ("~1116E80300005A5A", pty_.Receive(2021).substr(0, 17));
  EXPECT_EQ(-1, send(1001));
  EXPECT_EQ(-1, send(-1));
  EXPECT_EQ(-1, corvex_dev_io(port_, 0x10, nullptr, 0, buf_, nullptr));
  g_has_memory = false;  // nor is a request sent whose reply finds no room
  EXPECT_EQ(-99, send(1));
  ExpectNothingSent();
}

using Commands = LineTest;

int32_t Feature(int32_t fd, char* out) {
  return corvex_get_feature(fd, reinterpret_cast<uint8_t*>(out), 0);
}

int32_t FeatureText(int32_t fd, char* out) {
  return corvex_get_feature(fd, reinterpret_cast<uint8_t*>(out), 1);
}

TEST_F(Commands, EachIsItsFrameAndReadsItsReply) {
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
  Expect(check, "~131601000000008DEF02D2", "!14071600000000", -7);
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

TEST_F(Commands, ABadArgumentSendsNothing) {
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
