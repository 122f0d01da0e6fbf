// A whole call over a pseudo-terminal. The input's first line chooses the call
// (a letter), its time-out (a digit) and the box (the rest); each line after it
// is what the reader sends the next time that the driver waits: nothing, where
// it is empty, and "!" hangs up.
//
// The driver's waits go through a clock of the fuzzer's own (select, time and
// clock_gettime are replaced at link time), so that ten seconds of silence take
// no time.
#include <fcntl.h>
#include <pty.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <time.h>
#include <unistd.h>

#include <utility>

#include "cx_file_lock/cx_file_lock.h"
#include "fuzzing.h"
#include "mv_fpi.h"

namespace {

using fuzzing::Input;

class Reader {
 public:
  explicit Reader(const Input& script) : script_(script) {
    MUST(openpty(&master_, &host_side_, path_, nullptr, nullptr) == 0);
    MUST(fcntl(master_, F_SETFL, O_NONBLOCK) == 0);
  }
  ~Reader() {
    close(master_);
    close(host_side_);
  }

  const char* Port() const { return path_ + std::strlen("/dev/"); }

  // The driver waits: what it has asked is taken off the line, and the next
  // line of the script goes out. What does not fit the line's buffer is lost,
  // as on a real line. The kernel hands the bytes over in its own time, but the
  // input must decide alone.
  void Proceed() {
    char asked[256];
    while (read(master_, asked, sizeof asked) > 0) {
    }
    if (script_.Empty() || Unread() > 0) return;
    const std::string line = script_.Line();
    if (line == "!") close(std::exchange(master_, -1));
    const ssize_t sent = write(master_, line.data(), line.size());
    for (int i = 0; i < 2000 && Unread() < sent; ++i) sched_yield();
  }

 private:
  int Unread() const {
    int bytes = 0;
    ioctl(host_side_, FIONREAD, &bytes);
    return bytes;
  }

  Input script_;
  int master_ = -1;
  int host_side_ = -1;
  char path_[64];
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

template <size_t kBytes>
bool IsText(const char (&buffer)[kBytes], int length) {
  return strnlen(buffer, kBytes) == static_cast<size_t>(length);
}

// The caller's buffers are of the least size that is promised to suffice.
void Call(std::string choice, const char* port) {
  choice.resize(std::max<size_t>(choice.size(), 2), '3');
  const int timeout_s = choice[1] - '0';
  const char* const box = choice.c_str() + 2;
  char version[FG_VERSION_BYTES];
  char sn[FG_SN_BYTES];
  char feature[FG_FEATURE_BYTES];
  char tmpl[FG_TEMPLATE_BYTES];
  char message[FG_MESSAGE_BYTES];
  int length = -1;
  int result = -1;
  if (choice[0] == 'v') {
    FG_GetDevVersion(port, box, 9600, version);
  } else if (choice[0] == 's') {
    FG_GetDevSn(port, box, 9600, sn);
  } else if (choice[0] == 'p') {
    FG_CheckPressed(port, box, 9600);
  } else if (choice[0] == 'f') {
    result =
        FG_GetFeature(port, box, 9600, timeout_s, feature, &length, message);
    MUST(result != 0 || IsText(feature, length));
  } else {
    const auto enrol = choice[0] == 'g' ? FG_TipsGetTemplate : FG_GetTemplate;
    result = enrol(port, box, 9600, timeout_s, tmpl, &length, message);
    MUST(result != 0 || IsText(tmpl, length));
    MUST(result != 0 || FG_FpMatch(tmpl, tmpl, 0) >= 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const int lowest_free_descriptor = dup(0);
  close(lowest_free_descriptor);
  {
    const std::string choice = input.Line();
    Reader reader(input);
    g_reader = &reader;
    Call(choice, reader.Port());
  }
  const int lock = cx_file_lock();
  MUST(lock == lowest_free_descriptor);
  cx_file_unlock(lock);
  return 0;
}
