#include "mv_cmd/serial_port.h"

#include <fcntl.h>
#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "mv_base/clock.h"
#include "mv_base/diagnostic_log.h"

namespace {

// The settings to restore: those of the port opened last.
termios g_term_bak;

// What reading one byte came to.
enum class ByteRead { kByte, kNothingYet, kHungUp };

// An adapter that was unplugged is readable for ever and never has a byte:
// without telling it apart from a quiet line, a read would spin.
ByteRead ReadByte(int32_t fd, uint8_t* byte) {
  const ssize_t result = read(fd, byte, 1);
  if (result == 1) return ByteRead::kByte;
  const bool later = result < 0 && (errno == EAGAIN || errno == EINTR);
  return later ? ByteRead::kNothingYet : ByteRead::kHungUp;
}

timeval SplitMs(int64_t ms) {
  timeval split{};
  split.tv_sec = ms / 1000;
  split.tv_usec = ms % 1000 * 1000;
  return split;
}

// A descriptor beyond what select can watch cannot be waited for.
bool Selectable(int32_t fd) { return fd >= 0 && fd < FD_SETSIZE; }

// What waiting for a byte came to. Not a descriptor, as wait_read's result is:
// there, data on descriptor 0 looks like a time-out.
enum class Wait { kArrived, kTimeout, kFailed };

Wait WaitForByte(int32_t fd, int64_t timeout_ms) {
  bool arrived = false;
  if (Selectable(fd)) {
    // By the clock, not by what an interrupted select says is left: that is not
    // the same everywhere, and a storm of signals must not make a wait endless.
    const int64_t end = get_ms_tick() + timeout_ms;
    fd_set readable;
    int32_t result = 0;
    do {
      FD_ZERO(&readable);
      FD_SET(fd, &readable);
      timeval left = SplitMs(std::max<int64_t>(end - get_ms_tick(), 0));
      errno = 0;
      result = select(fd + 1, &readable, nullptr, nullptr, &left);
    } while (result < 0 && (errno == EAGAIN || errno == EINTR));
    if (result == 0) return Wait::kTimeout;
    // Deliberate: tested after an error too, where the set is as it was put in.
    arrived = FD_ISSET(fd, &readable);
  }
  if (!arrived) {
    MV_LOG("wait_read 等待读取数据失败[-1]\n");
    return Wait::kFailed;
  }
  MV_LOG("wait_read 数据到达[0]\n");
  return Wait::kArrived;
}

// Raw 8N1 at 9600 baud. What is not named here stays as the port's driver has
// it; IGNBRK, BRKINT, PARMRK, ISTRIP, INPCK and IXANY deliberately so.
bool MakeRaw(termios* line) {
  line->c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | CSTOPB);
  line->c_cflag |= CS8 | CLOCAL | CREAD;
  line->c_iflag &=
      ~static_cast<tcflag_t>(INLCR | IGNCR | ICRNL | IUCLC | IXON | IXOFF);
  line->c_oflag = 0;
  line->c_lflag = 0;
  line->c_cc[VMIN] = 1;
  line->c_cc[VTIME] = 0;
  const int32_t in = cfsetispeed(line, B9600);
  if (in < 0) {
    MV_LOG("corvex_open_uart 设置输入波特率失败[%d]\n", in);
    return false;
  }
  const int32_t out = cfsetospeed(line, B9600);
  if (out < 0) {
    MV_LOG("corvex_open_uart 设置输出波特率失败[%d]\n", out);
    return false;
  }
  return true;
}

// The steps that need the open descriptor.
bool SetUp(int32_t fd) {
  // Deliberate: only read. The descriptor stays non-blocking, whatever the
  // text says.
  const int32_t flags = fcntl(fd, F_GETFL);
  if (flags < 0) {
    MV_LOG("corvex_open_uart 获取串口的文件状态标志失败(设置阻塞状态)[%d]\n",
           flags);
    return false;
  }
  if (isatty(fd) == 0) {
    MV_LOG("corvex_open_uart 非终端[%d]\n", 0);
    return false;
  }
  termios line{};
  int32_t result = tcgetattr(fd, &g_term_bak);
  if (result == 0) result = tcgetattr(fd, &line);
  if (result != 0) {
    MV_LOG("corvex_open_uart 获取串口属性信息失败[%d]\n", result);
    return false;
  }
  result = tcflush(fd, TCIOFLUSH);
  if (result < 0) {
    MV_LOG("corvex_open_uart 刷清(扔掉)输入输出缓存失败[%d]\n", result);
    return false;
  }
  if (!MakeRaw(&line)) return false;
  result = tcsetattr(fd, TCSANOW, &line);
  if (result != 0) {
    // Deliberate: the text of a failed output speed.
    MV_LOG("corvex_open_uart 设置输出波特率失败[%d]\n", result);
    return false;
  }
  return true;
}

// Lets what is left to be sent go out, whatever the far side says: a line held
// by hardware flow control would otherwise never drain.
void EndFlowControl(int32_t fd) {
  termios line{};
  if ((g_term_bak.c_cflag & CRTSCTS) == 0 || tcgetattr(fd, &line) != 0) return;
  line.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS);
  tcsetattr(fd, TCSANOW, &line);
}

}  // namespace

int32_t corvex_open_uart(const char* name) {
  if (name == nullptr) {
    MV_LOG("corvex_open_uart 串口号错误\n");
    return kPortFailed;
  }
  char path[512];
  const int path_len = snprintf(path, sizeof path, "/dev/%s", name);
  MV_LOG("corvex_open_uart 串口:[%s]\n", path);
  // A name that was cut names another device.
  const bool fits = path_len >= 0 && path_len < static_cast<int>(sizeof path);
  const int32_t fd =
      fits ? open(path, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC) : -1;
  if (fd < 0) {
    MV_LOG("corvex_open_uart 打开[%s]串口失败[%d]\n", path, fd);
    return kPortFailed;
  }
  if (!SetUp(fd)) {
    // A host that polls a wrong name for days loses no descriptors.
    close(fd);
    return kPortFailed;
  }
  return fd;
}

int32_t corvex_close_uart(int32_t fd) {
  EndFlowControl(fd);
  tcsetattr(fd, TCSADRAIN, &g_term_bak);
  // Deliberate: descriptor 0 stays open.
  if (fd >= 1) close(fd);
  return 0;
}

int32_t corvex_wait_data(int32_t fd, uint32_t timeout_ms) {
  int32_t result = -1;
  if (Selectable(fd)) {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    timeval left = SplitMs(timeout_ms);
    result = select(fd + 1, &readable, nullptr, nullptr, &left);
  }
  if (result < 0) {
    MV_LOG("corvex_wait_data 未知错误(一般是设备无应答)[%d]\n",
           kPortSelectFailed);
    return kPortSelectFailed;
  }
  if (result == 0) {
    MV_LOG("corvex_wait_data 超时[%d]\n", kPortTimeout);
    return kPortTimeout;
  }
  return 0;
}

int32_t corvex_read_data(int32_t fd, uint8_t* buf, int32_t n) {
  if (fd < 0 || buf == nullptr || n <= 0) {
    MV_LOG("corvex_read_data 参数错误\n");
    return kPortFailed;
  }
  int32_t count = 0;
  while (count < n) {
    const ByteRead got = ReadByte(fd, buf + count);
    if (got == ByteRead::kByte) {
      ++count;
    } else if (got == ByteRead::kHungUp) {
      MV_LOG("corvex_read_data 串口已断开[%d]\n", kPortTimeout);
      break;
    } else if (corvex_wait_data(fd, kSilenceLimitMs) != 0) {
      break;
    }
  }
  buf[count] = 0;
  return count;
}

int32_t wait_read(int32_t fd, int64_t timeout_ms) {
  const Wait result = WaitForByte(fd, timeout_ms);
  if (result == Wait::kTimeout) return 0;
  return result == Wait::kArrived ? fd : kPortFailed;
}

int32_t corvex_read_rate_data(int32_t fd, uint8_t* buf, int32_t n) {
  if (fd < 0 || buf == nullptr || n <= 0) {
    MV_LOG("corvex_read_rate_data 参数错误\n");
    return kPortFailed;
  }
  int32_t count = 0;
  while (count < n) {
    const bool arrived = WaitForByte(fd, kSilenceLimitMs) == Wait::kArrived;
    const ByteRead got =
        arrived ? ReadByte(fd, buf + count) : ByteRead::kHungUp;
    if (got == ByteRead::kHungUp) {
      MV_LOG("corvex_read_rate_data 等待读取数据错误[-11]\n");
      return kPortRateReadFailed;
    }
    if (got == ByteRead::kByte) ++count;
  }
  buf[count] = 0;
  return count;
}

int32_t corvex_write_data(int32_t fd, const uint8_t* buf, int32_t len) {
  if (buf == nullptr || len < 0) return kPortFailed;
  return static_cast<int32_t>(write(fd, buf, static_cast<size_t>(len)));
}
