#include "line_fixture.h"

#include <dlfcn.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/time.h>

#include <utility>

#include "support/temp_file.h"

namespace {

bool g_waits_last = false;
int64_t g_waited_ms = 0;

}  // namespace

int select(int count, fd_set* in, fd_set* out, fd_set* other, timeval* wait) {
  static const auto real =
      reinterpret_cast<decltype(&select)>(dlsym(RTLD_NEXT, "select"));
  if (g_waits_last) return real(count, in, out, other, wait);
  timeval none{};
  const int ready = real(count, in, out, other, &none);
  if (ready == 0) g_waited_ms += wait->tv_sec * 1000 + wait->tv_usec / 1000;
  return ready;
}

LineTest::LineTest() : port_(corvex_open_uart(pty_.Name().c_str())) {
  support::SwitchLogOn();
}

void LineTest::Reply(const std::string& text) const {
  pty_.Send(text);
  int arrived = 0;
  while (arrived < static_cast<int>(text.size())) {
    ASSERT_EQ(0, ioctl(port_, FIONREAD, &arrived));
  }
}

void LineTest::ExpectNothingSent() const {
  corvex_write_data(port_, reinterpret_cast<const uint8_t*>("."), 1);
  EXPECT_EQ(".", pty_.Receive(1));
}

int64_t LineTest::WaitedMs() { return std::exchange(g_waited_ms, 0); }

void LineTest::InterruptWaits() {
  g_waits_last = true;
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  const itimerval often = {{0, 20000}, {0, 20000}};
  setitimer(ITIMER_REAL, &often, nullptr);
}
