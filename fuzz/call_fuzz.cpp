// A whole call over a pseudo-terminal. The input's first line chooses the call
// (a letter) and its time-out (a digit); each line after it is what the reader
// sends the next time that the driver waits: nothing, where it is empty, and
// "!" hangs up.
//
// The driver's waits go through a clock of the fuzzer's own (select, time and
// clock_gettime are replaced at link time), so that ten seconds of silence take
// no time.
#include <fcntl.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <time.h>
#include <unistd.h>

#include <deque>

#include "cx_file_lock/cx_file_lock.h"
#include "fuzzing.h"
#include "mv_fpi.h"

namespace {

using fuzzing::Input;

class Reader {
 public:
  Reader() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
    char path[64];
    MUST(master_ >= 0 && grantpt(master_) == 0 && unlockpt(master_) == 0 &&
         ptsname_r(master_, path, sizeof path) == 0);
    port_ = path + std::strlen("/dev/");
    host_side_ = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
    MUST(host_side_ >= 0);
  }
  ~Reader() {
    HangUp();
    close(host_side_);
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  const char* Port() const { return port_.c_str(); }
  void Script(std::string line) { lines_.push_back(std::move(line)); }

  // The driver waits: what it has asked is taken off the line, and the next
  // line of the script goes out.
  void Proceed() {
    char asked[256];
    while (master_ >= 0 && read(master_, asked, sizeof asked) > 0) {
    }
    if (lines_.empty() || Unread() > 0) return;
    const std::string line = std::move(lines_.front());
    lines_.pop_front();
    if (line == "!") {
      HangUp();
    } else {
      Send(line);
    }
  }

 private:
  // What does not fit the line's buffer is lost, as on a real line. The kernel
  // hands the bytes over in its own time, but the input must decide alone.
  void Send(const std::string& line) const {
    if (master_ < 0) return;
    const ssize_t sent = write(master_, line.data(), line.size());
    for (int i = 0; i < kPatience && Unread() < sent; ++i) sched_yield();
  }
  int Unread() const {
    int bytes = 0;
    ioctl(host_side_, FIONREAD, &bytes);
    return bytes;
  }
  void HangUp() {
    if (master_ >= 0) close(master_);
    master_ = -1;
  }

  static constexpr int kPatience = 2000;

  int master_;
  int host_side_;
  std::string port_;
  std::deque<std::string> lines_;
};

Reader* g_reader = nullptr;
int64_t g_now_us = 1700000000000000;

}  // namespace

extern "C" {

int __real_select(int count, fd_set* to_read, fd_set* to_write,
                  fd_set* to_except, timeval* timeout);
int __real_clock_gettime(clockid_t id, timespec* now);

// A wait that nothing ends lasts as long as it may.
int __wrap_select(int count, fd_set* to_read, fd_set* to_write,
                  fd_set* to_except, timeval* timeout) {
  if (count > 0) g_reader->Proceed();
  timeval none{};
  const int result = __real_select(count, to_read, to_write, to_except, &none);
  if (result == 0) g_now_us += timeout->tv_sec * 1000000 + timeout->tv_usec;
  return result;
}

int __wrap_clock_gettime(clockid_t id, timespec* now) {
  if (id != CLOCK_MONOTONIC) return __real_clock_gettime(id, now);
  *now = {g_now_us / 1000000, g_now_us % 1000000 * 1000};
  return 0;
}

time_t __wrap_time(time_t* out) {
  const time_t now = g_now_us / 1000000;
  if (out != nullptr) *out = now;
  return now;
}

}  // extern "C"

namespace {

// The caller's buffers, of the least size that is promised to suffice.
struct Buffers {
  char version[FG_VERSION_BYTES];
  char sn[FG_SN_BYTES];
  char message[FG_MESSAGE_BYTES];
};

template <size_t kBytes>
void ExpectText(const char (&buffer)[kBytes], int length) {
  MUST(length >= 0 && static_cast<size_t>(length) < kBytes);
  MUST(std::strlen(buffer) == static_cast<size_t>(length));
}

void Capture(const char* port, const char* box, int timeout_s, char* message) {
  char feature[FG_FEATURE_BYTES];
  int length = -1;
  if (FG_GetFeature(port, box, 9600, timeout_s, feature, &length, message) ==
      0) {
    ExpectText(feature, length);
  }
}

void Enrol(bool guided, const char* port, const char* box, int timeout_s,
           char* message) {
  char tmpl[FG_TEMPLATE_BYTES];
  int length = -1;
  const auto call = guided ? FG_TipsGetTemplate : FG_GetTemplate;
  if (call(port, box, 9600, timeout_s, tmpl, &length, message) == 0) {
    ExpectText(tmpl, length);
    MUST(FG_FpMatch(tmpl, tmpl, 0) >= 0);
  }
}

void Call(const std::string& choice, const char* port) {
  const char kind = choice.empty() ? 'v' : choice[0];
  const int timeout_s = choice.size() > 1 ? choice[1] - '0' : 3;
  const char* const box = choice.size() > 2 ? choice.c_str() + 2 : "";
  Buffers buffers;
  switch (kind) {
    case 'v':
      FG_GetDevVersion(port, box, 9600, buffers.version);
      return;
    case 's':
      FG_GetDevSn(port, box, 9600, buffers.sn);
      return;
    case 'p':
      FG_CheckPressed(port, box, 9600);
      return;
    case 'f':
      return Capture(port, box, timeout_s, buffers.message);
    default:
      return Enrol(kind == 'g', port, box, timeout_s, buffers.message);
  }
}

int LowestFreeDescriptor() {
  const int fd = dup(0);
  close(fd);
  return fd;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const int descriptor = LowestFreeDescriptor();
  {
    Reader reader;
    g_reader = &reader;
    const std::string choice = input.Line();
    while (!input.Empty()) reader.Script(input.Line());
    Call(choice, reader.Port());
  }
  MUST(LowestFreeDescriptor() == descriptor);
  const int lock = cx_file_lock();
  MUST(lock >= 0);
  cx_file_unlock(lock);
  return 0;
}
