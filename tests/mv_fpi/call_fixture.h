// A host, the driver and a reader on a pseudo-terminal.
#ifndef TESTS_MV_FPI_CALL_FIXTURE_H_
#define TESTS_MV_FPI_CALL_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>

#include "cx_file_lock/cx_file_lock.h"
#include "mv_fpi.h"
#include "support/pty.h"
#include "support/tab_file.h"
#include "support/temp_file.h"
#include "virtual_reader/virtual_reader.h"

// After every test the lock is free, the line has its settings back, and the
// driver has asked nothing that a reader would not understand.
class CallTest : public testing::Test {
 protected:
  CallTest() { support::SwitchLogOn(); }

  void SetUp() override {
    settings_ = reader_.TerminalSettings();
    descriptors_ = support::OpenDescriptors();
  }

  void TearDown() override {
    const int32_t lock = cx_file_lock();
    EXPECT_GE(lock, 0) << "the call left the lock held";
    cx_file_unlock(lock);
    EXPECT_EQ(std::vector<std::string>{}, reader_.Errors());
    if (unplugged_) return;  // with the line go its settings and descriptors
    EXPECT_EQ(descriptors_, support::OpenDescriptors());
    EXPECT_TRUE(support::SameSettings(settings_, reader_.TerminalSettings()));
  }

  const char* Port() const { return reader_.PortName().c_str(); }

  // A record that the matcher accepts: `count` minutiae along a spiral.
  static support::Bytes Record(int count) {
    support::Bytes record = {0x12, 0, static_cast<uint8_t>(count)};
    for (int i = 0; i < count; ++i) {
      const int direction = i * 47 % 360;
      record.push_back(static_cast<uint8_t>(20 + i * 37 % 215));
      record.push_back(static_cast<uint8_t>(20 + i * 91 % 215));
      record.push_back(static_cast<uint8_t>(direction));
      record.push_back(static_cast<uint8_t>(direction >> 8 | 50 << 1));
      record.push_back(0);
    }
    return record;
  }

  static bool Logged(const std::string& text) {
    return support::DayLog().find("] " + text + "\n") != std::string::npos;
  }

  corvex::vreader::VirtualReader reader_;
  bool unplugged_ = false;
  termios settings_{};
  int descriptors_ = 0;
};

#endif  // TESTS_MV_FPI_CALL_FIXTURE_H_
