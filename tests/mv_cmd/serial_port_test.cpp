#include "mv_cmd/serial_port.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "line_fixture.h"
#include "mv_base/transcript.h"

namespace {

class SerialPortTest : public LineTest {
 protected:
  int32_t Open() const { return corvex_open_uart(pty_.Name().c_str()); }

  std::string Text() const { return reinterpret_cast<const char*>(buf_); }

  // The far side's own descriptor, and the settings of a port before the open.
  const int slave_ = open(("/dev/" + pty_.Name()).c_str(), O_RDWR | O_NOCTTY);
  uint8_t buf_[64] = {};
};

TEST_F(SerialPortTest, OpensRawAndGivesTheSettingsBack) {
  termios odd = pty_.Settings();
  odd.c_iflag = IGNBRK | BRKINT | PARMRK | ISTRIP | INPCK | IXANY | ICRNL |
                INLCR | IGNCR | IUCLC | IXON | IXOFF;
  odd.c_oflag = OPOST | ONLCR;
  odd.c_lflag = ICANON | ECHO | ISIG;
  odd.c_cflag = CS7 | PARENB | CSTOPB | CRTSCTS | B1200;
  odd.c_cc[VMIN] = 7;
  odd.c_cc[VTIME] = 7;
  ASSERT_EQ(0, tcsetattr(slave_, TCSANOW, &odd));
  odd = pty_.Settings();
  pty_.Send("stale\n");
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
  EXPECT_NE(0, fcntl(fd, F_GETFD) & FD_CLOEXEC);
  Reply("fresh");
  EXPECT_EQ(5, corvex_read_data(fd, buf_, 5));
  EXPECT_EQ("fresh", Text());
  // The close drains without flow control, and then restores that too.
  EXPECT_EQ(0, corvex_close_uart(fd));
  EXPECT_TRUE(support::SameSettings(odd, pty_.Settings()));
  EXPECT_EQ(-1, fcntl(fd, F_GETFD));
}

TEST_F(SerialPortTest, AWrongNameCostsNoDescriptor) {
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

TEST_F(SerialPortTest, WaitsEndAndSayHow) {
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
  Reply("abc");
  EXPECT_EQ(3, corvex_read_rate_data(port_, buf_, 3));
  EXPECT_EQ(-9, corvex_wait_data(1000000, 1));  // beyond what select watches
  EXPECT_EQ(-9, corvex_wait_data(-1, 1));
  EXPECT_EQ(-1, wait_read(1000000, 1));
  EXPECT_EQ(-1, corvex_read_data(-1, buf_, 1));
  EXPECT_EQ(-1, corvex_read_data(port_, nullptr, 1));
  EXPECT_EQ(-1, corvex_read_data(port_, buf_, 0));
  EXPECT_EQ(-1, corvex_read_rate_data(-1, buf_, 1));
  EXPECT_EQ(-1, corvex_read_rate_data(port_, nullptr, 1));
  EXPECT_EQ(-1, corvex_read_rate_data(port_, buf_, 0));
  EXPECT_EQ(-1, corvex_write_data(port_, nullptr, 1));
  ExpectTranscript(MV_EXPECTED, TakenLog());
}

// Closing leaves it open, and to a wait its data and a time-out are one number.
TEST_F(SerialPortTest, DescriptorZeroIsAPortLikeAnyOther) {
  close(0);
  ASSERT_EQ(0, Open());
  EXPECT_EQ(-11, corvex_read_rate_data(0, buf_, 1));
  EXPECT_EQ(0, corvex_close_uart(0));
  EXPECT_NE(-1, fcntl(0, F_GETFD));
}

// Without the hang-up rule these reads would spin for ever.
TEST_F(SerialPortTest, AnUnpluggedAdapterEndsEveryReadAtOnce) {
  Reply("ab");
  EXPECT_EQ(2, corvex_read_data(port_, buf_, 2));
  pty_.HangUp();
  EXPECT_EQ(0, corvex_read_data(port_, buf_, 5));
  EXPECT_EQ(-11, corvex_read_rate_data(port_, buf_, 5));
  EXPECT_EQ(-1, corvex_write_data(port_, buf_, 1));
  EXPECT_EQ(0, WaitedMs());
}

TEST_F(SerialPortTest, ASignalEndsAnOrdinaryWaitAndResumesAnother) {
  InterruptWaits();
  EXPECT_EQ(-9, corvex_wait_data(port_, 10000));
  EXPECT_EQ(0, wait_read(port_, 200));
}

}  // namespace
