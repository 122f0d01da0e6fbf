// A port whose other end the test plays: replies are laid ready, requests are
// looked at afterwards. Frames are literal: a builder shared with the driver
// would hide a shared mistake.
#ifndef TESTS_MV_CMD_LINE_FIXTURE_H_
#define TESTS_MV_CMD_LINE_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>

#include "mv_cmd/serial_port.h"
#include "support/pty.h"
#include "support/temp_file.h"

class LineTest : public testing::Test {
 protected:
  LineTest() : port_(corvex_open_uart(pty_.Name().c_str())) {
    support::SwitchLogOn();
  }
  ~LineTest() override { corvex_close_uart(port_); }

  void Reply(const std::string& text) const { pty_.Send(text); }

  // The next request on the line is exactly this.
  void ExpectSent(const std::string& text) const {
    EXPECT_EQ(text, pty_.Receive(text.size()));
  }

  void ExpectNothingSent() const {
    corvex_write_data(port_, reinterpret_cast<const uint8_t*>("."), 1);
    EXPECT_EQ(".", pty_.Receive(1));
  }

  static bool Logged(const std::string& text) {
    return support::DayLog().find("] " + text + "\n") != std::string::npos;
  }

  support::Pty pty_;
  const int32_t port_;
};

#endif  // TESTS_MV_CMD_LINE_FIXTURE_H_
