// The built driver, installed and with a reader, and its exported calls, each
// as one procedure whose outcome can be compared with another run's.
#ifndef TESTS_RELIABILITY_DRIVER_CALLS_H_
#define TESTS_RELIABILITY_DRIVER_CALLS_H_

#include <gtest/gtest.h>
#include <termios.h>

#include <memory>
#include <string>

#include "algorithm_double/driver_site.h"
#include "reliability/fault_shim.h"
#include "virtual_reader/virtual_reader.h"

const std::string kGuided = "FG_TipsGetTemplate";
const std::string kMatch = "FG_FpMatch";

struct Outcome {
  int code = 0;
  std::string output;  // what a successful call wrote
  ShimReport report;
};

class DriverTest : public testing::Test {
 protected:
  // In /tmp/site, beside it a prompt program that ends with its host.
  DriverTest();

  // A finger on it, on a line with nothing left over; COM3 as well.
  void RenewReader();

  // Makes the call of that name; the driver's part of it under the shim.
  Outcome Call(const std::string& name, const Fault& fault = {}) const;

  // The lock is free, and there are no more descriptors than when the reader
  // was renewed, nor other settings of its line.
  void ExpectNothingLeft() const;

  // Nor a prompt program or, once the driver has ended a session, a block.
  static void ExpectNoPrompt();
  static int Blocks();

  // Called where the driver waits for a reply; null: it waits in earnest.
  void (*settle_)(void* reader) = [](void* reader) {
    static_cast<corvex::vreader::VirtualReader*>(reader)->Counts();
  };

  support::DriverSite site_;
  std::unique_ptr<corvex::vreader::VirtualReader> reader_;

 private:
  std::string feature_;  // the finger's
  termios settings_{};
  int descriptors_ = 0;
};

#endif  // TESTS_RELIABILITY_DRIVER_CALLS_H_
