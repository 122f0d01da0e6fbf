#include "mv_cmd/serial_port.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <string>

#include "support/pty.h"
#include "support/temp_file.h"

namespace {

using support::DayLog;
using testing::Test;

std::string Text(const uint8_t* bytes) {
  return reinterpret_cast<const char*>(bytes);
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// Interrupts system calls from now on, without restarting them.
void InterruptEvery20Ms() {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  const itimerval often = {{0, 20000}, {0, 20000}};
  setitimer(ITIMER_REAL, &often, nullptr);
}

class SerialPortTest : public Test {
 protected:
  SerialPortTest() { support::SwitchLogOn(); }

  int32_t Open() { return corvex_open_uart(pty_.Name().c_str()); }

  support::Pty pty_;
  uint8_t buf_[64] = {};
};

TEST_F(SerialPortTest, OpensRawAndGivesTheSettingsBack) {
  const termios before = pty_.Settings();
  ASSERT_NE(0u, before.c_lflag & ICANON);
  const int32_t fd = Open();
  ASSERT_GE(fd, 0);
  const termios raw = pty_.Settings();
  EXPECT_EQ(0u, raw.c_lflag);
  EXPECT_EQ(0u, raw.c_oflag);
  EXPECT_EQ(static_cast<tcflag_t>(CS8), raw.c_cflag & CSIZE);
  EXPECT_EQ(static_cast<tcflag_t>(CLOCAL | CREAD),
            raw.c_cflag & (CLOCAL | CREAD | PARENB | CSTOPB));
  EXPECT_EQ(0u, raw.c_iflag & (INLCR | IGNCR | ICRNL | IUCLC | IXON | IXOFF));
  EXPECT_EQ(1, raw.c_cc[VMIN]);
  EXPECT_EQ(0, raw.c_cc[VTIME]);
  EXPECT_EQ(static_cast<speed_t>(B9600), cfgetispeed(&raw));
  EXPECT_EQ(static_cast<speed_t>(B9600), cfgetospeed(&raw));
  EXPECT_NE(0, fcntl(fd, F_GETFL) & O_NONBLOCK);
  EXPECT_NE(0, fcntl(fd, F_GETFD) & FD_CLOEXEC);
  EXPECT_EQ(0, corvex_close_uart(fd));
  EXPECT_TRUE(support::SameSettings(before, pty_.Settings()));
  EXPECT_EQ(-1, fcntl(fd, F_GETFD));
}

TEST_F(SerialPortTest, LeavesTheSettingsThatItDoesNotName) {
  const int32_t slave =
      open(("/dev/" + pty_.Name()).c_str(), O_RDWR | O_NOCTTY);
  termios odd = pty_.Settings();
  odd.c_iflag = IGNBRK | BRKINT | PARMRK | ISTRIP | INPCK | IXANY | ICRNL;
  odd.c_cflag |= CRTSCTS;
  ASSERT_EQ(0, tcsetattr(slave, TCSANOW, &odd));
  const int32_t fd = Open();
  ASSERT_GE(fd, 0);
  EXPECT_EQ(
      static_cast<tcflag_t>(IGNBRK | BRKINT | PARMRK | ISTRIP | INPCK | IXANY),
      pty_.Settings().c_iflag);
  EXPECT_NE(0u, pty_.Settings().c_cflag & CRTSCTS);
  // The close drains without flow control, and then restores that too.
  corvex_close_uart(fd);
  EXPECT_TRUE(support::SameSettings(odd, pty_.Settings()));
  close(slave);
}

TEST_F(SerialPortTest, StaleInputIsThrownAwayByTheOpen) {
  const int32_t slave =
      open(("/dev/" + pty_.Name()).c_str(), O_RDWR | O_NOCTTY);
  pty_.Send("stale\n");
  const int32_t fd = Open();
  pty_.Send("fresh");
  EXPECT_EQ(5, corvex_read_data(fd, buf_, 5));
  EXPECT_EQ("fresh", Text(buf_));
  corvex_close_uart(fd);
  close(slave);
}

TEST_F(SerialPortTest, AWrongNameCostsNoDescriptor) {
  support::WriteFile("/tmp/plain", "not a terminal");
  const std::string long_name(5000, 'x');
  const int before = support::OpenDescriptors();
  EXPECT_EQ(-1, corvex_open_uart(nullptr));
  EXPECT_EQ(-1, corvex_open_uart("no_such_port"));
  EXPECT_EQ(-1, corvex_open_uart("../tmp/plain"));
  EXPECT_EQ(-1, corvex_open_uart("null"));
  EXPECT_EQ(-1, corvex_open_uart(""));
  EXPECT_EQ(-1, corvex_open_uart(long_name.c_str()));
  EXPECT_EQ(before, support::OpenDescriptors());
  const std::string log = DayLog();
  EXPECT_TRUE(Contains(log, "] corvex_open_uart 串口号错误\n"));
  EXPECT_TRUE(Contains(log, "corvex_open_uart 串口:[/dev/no_such_port]\n"));
  EXPECT_TRUE(
      Contains(log, "corvex_open_uart 打开[/dev/no_such_port]串口失败[-1]\n"));
  EXPECT_TRUE(Contains(log, "corvex_open_uart 非终端[0]\n"));
}

TEST_F(SerialPortTest, ANameThatDoesNotFitNamesNoOtherPort) {
  // Cut where the room ends it would be this port's.
  constexpr size_t kRoom = 511;
  std::string name = pty_.Name();
  while (strlen("/dev/") + name.size() < kRoom) name.insert(0, "/");
  const int32_t port = corvex_open_uart(name.c_str());
  EXPECT_GE(port, 0);
  corvex_close_uart(port);
  EXPECT_EQ(-1, corvex_open_uart((name + "0").c_str()));
}

TEST_F(SerialPortTest, DescriptorZeroGetsItsSettingsBackButStaysOpen) {
  const termios before = pty_.Settings();
  close(0);
  ASSERT_EQ(0, Open());
  EXPECT_EQ(0, corvex_close_uart(0));
  EXPECT_TRUE(support::SameSettings(before, pty_.Settings()));
  EXPECT_NE(-1, fcntl(0, F_GETFD));
  EXPECT_EQ(0, corvex_close_uart(-1));
}

TEST_F(SerialPortTest, ReadingRefusesBadArguments) {
  EXPECT_EQ(-1, corvex_read_data(-1, buf_, 1));
  EXPECT_EQ(-1, corvex_read_data(5, nullptr, 1));
  EXPECT_EQ(-1, corvex_read_data(5, buf_, 0));
  EXPECT_EQ(-1, corvex_read_rate_data(-1, buf_, 1));
  EXPECT_EQ(-1, corvex_read_rate_data(5, nullptr, 1));
  EXPECT_EQ(-1, corvex_read_rate_data(5, buf_, 0));
  EXPECT_EQ(-9, corvex_wait_data(1000000, 1));  // beyond what select watches
  EXPECT_EQ(-9, corvex_wait_data(-1, 1));
  EXPECT_EQ(-1, wait_read(1000000, 1));
  EXPECT_TRUE(Contains(DayLog(), "corvex_read_data 参数错误\n"));
  EXPECT_TRUE(Contains(DayLog(), "corvex_read_rate_data 参数错误\n"));
}

TEST_F(SerialPortTest, SilenceEndsAReadWithWhatHasArrived) {
  const int32_t fd = Open();
  pty_.Send("abc");
  buf_[3] = '#';
  EXPECT_EQ(3, corvex_read_data(fd, buf_, 10));
  EXPECT_EQ("abc", Text(buf_));
  EXPECT_TRUE(Contains(DayLog(), "corvex_wait_data 超时[-2]\n"));
  corvex_close_uart(fd);
}

TEST_F(SerialPortTest, SilenceFailsASpeedChangeRead) {
  const int32_t fd = Open();
  pty_.Send("abc");
  EXPECT_EQ(-11, corvex_read_rate_data(fd, buf_, 10));
  EXPECT_TRUE(Contains(DayLog(), "wait_read 数据到达[0]\n"));
  EXPECT_TRUE(
      Contains(DayLog(), "corvex_read_rate_data 等待读取数据错误[-11]\n"));
  corvex_close_uart(fd);
}

// There, data and a time-out are the same number.
TEST_F(SerialPortTest, SilenceOnDescriptorZeroFailsASpeedChangeReadToo) {
  close(0);
  ASSERT_EQ(0, Open());
  EXPECT_EQ(-11, corvex_read_rate_data(0, buf_, 1));
}

TEST_F(SerialPortTest, WaitsAreShortWhenAskedTo) {
  const int32_t fd = Open();
  EXPECT_EQ(-2, corvex_wait_data(fd, 20));
  EXPECT_EQ(0, wait_read(fd, 20));
  pty_.Send("x");
  EXPECT_EQ(0, corvex_wait_data(fd, 20));
  EXPECT_EQ(fd, wait_read(fd, 20));
  corvex_close_uart(fd);
}

// Without the hang-up rule these reads would spin for ever.
TEST_F(SerialPortTest, AnUnpluggedAdapterEndsEveryReadAtOnce) {
  const int32_t fd = Open();
  pty_.Send("ab");
  EXPECT_EQ(2, corvex_read_data(fd, buf_, 2));
  pty_.HangUp();
  EXPECT_EQ(0, corvex_read_data(fd, buf_, 5));
  EXPECT_EQ(-11, corvex_read_rate_data(fd, buf_, 5));
  EXPECT_EQ(-1, corvex_write_data(fd, buf_, 1));
  EXPECT_EQ(0, corvex_close_uart(fd));
}

TEST_F(SerialPortTest, ASignalResumesASpeedChangeWaitAndEndsAnOrdinaryOne) {
  const int32_t fd = Open();
  InterruptEvery20Ms();
  EXPECT_EQ(-9, corvex_wait_data(fd, 10000));
  EXPECT_EQ(0, wait_read(fd, 200));
  EXPECT_TRUE(
      Contains(DayLog(), "corvex_wait_data 未知错误(一般是设备无应答)[-9]\n"));
  corvex_close_uart(fd);
}

TEST_F(SerialPortTest, WritesAsItStands) {
  const int32_t fd = Open();
  const uint8_t bytes[] = {0x1B, '%', 'A', '\n', 0x00};
  EXPECT_EQ(5, corvex_write_data(fd, bytes, 5));
  EXPECT_EQ(std::string("\x1B%A\n\0", 5), pty_.Receive(5));
  EXPECT_EQ(-1, corvex_write_data(fd, nullptr, 1));
  corvex_close_uart(fd);
}

}  // namespace
