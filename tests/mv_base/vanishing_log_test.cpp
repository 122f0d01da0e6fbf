// A log file that vanishes between the look at it and its opening. The program
// has an access() of its own, which the driver's code then calls.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "mv_base/diagnostic_log.h"
#include "support/temp_file.h"

// Finds every file and removes it.
extern "C" int access(const char* path, int) noexcept {
  unlink(path);
  return 0;
}

namespace {

TEST(DiagnosticLog, AFileThatVanishesIsNotMadeAnew) {
  support::SwitchLogOn();
  EXPECT_EQ(-1, MIVO_Log_File("too late\n"));
  EXPECT_FALSE(std::ifstream(support::DayLogPath()).is_open());
}

}  // namespace
