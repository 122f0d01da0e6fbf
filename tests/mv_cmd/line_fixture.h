// A port whose other end the test plays: replies are laid ready, requests are
// looked at afterwards. Frames are literal: a builder shared with the driver
// would hide a shared mistake. Waiting in vain takes no time.
#ifndef TESTS_MV_CMD_LINE_FIXTURE_H_
#define TESTS_MV_CMD_LINE_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>

#include "mv_cmd/serial_port.h"
#include "support/pty.h"

class LineTest : public testing::Test {
 protected:
  LineTest();
  ~LineTest() override { corvex_close_uart(port_); }

  // The port can read all of it from now on.
  void Reply(const std::string& text) const;

  // The next request on the line is exactly this.
  void ExpectSent(const std::string& text) const {
    EXPECT_EQ(text, pty_.Receive(text.size()));
  }

  void ExpectNothingSent() const;

  // How long the port was waited for in vain since the last look.
  static int64_t WaitedMs();

  // From now on waits last, and are interrupted every 20 ms.
  static void InterruptWaits();

  support::Pty pty_;
  const int32_t port_;
};

#endif  // TESTS_MV_CMD_LINE_FIXTURE_H_
