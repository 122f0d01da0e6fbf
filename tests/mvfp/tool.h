// Runs command lines as a person would, in a shell where mvfp is the built tool
// and a virtual reader is /dev/COM3, and keeps what they print.
#ifndef TESTS_MVFP_TOOL_H_
#define TESTS_MVFP_TOOL_H_

#include <gtest/gtest.h>

#include <string>

#include "algorithm_double/driver_site.h"
#include "virtual_reader/virtual_reader.h"

struct Finished {
  int exit_code;  // less than 0: the signal that ended it
  std::string out;
  std::string err;
};

class Tool : public testing::Test {
 protected:
  Tool();

  static pid_t Start(const std::string& line);

  // What it said, the day's log named LOG.
  static Finished Wait(pid_t process);

  static Finished Run(const std::string& line) { return Wait(Start(line)); }

  // `out` is all but the last line's end, `err` a part; nothing is nothing.
  static void Expect(const std::string& line, int exit_code,
                     const std::string& out, const std::string& err);

  support::DriverSite site_{MV_DRIVER};
  corvex::vreader::VirtualReader reader_;
};

#endif  // TESTS_MVFP_TOOL_H_
