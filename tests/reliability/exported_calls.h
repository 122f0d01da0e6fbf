// Every exported call of the built driver, each as one procedure whose outcome
// can be compared with another run's.
#ifndef TESTS_RELIABILITY_EXPORTED_CALLS_H_
#define TESTS_RELIABILITY_EXPORTED_CALLS_H_

#include <sys/types.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "algorithm_double/driver_site.h"
#include "reliability/fault_shim.h"
#include "virtual_reader/virtual_reader.h"

namespace support {

// A sanitizer brings its own allocator: never denied memory, and keeping what
// is freed.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

struct Outcome {
  int code = 0;
  std::string output;  // what the caller's buffers hold

  bool operator==(const Outcome& other) const {
    return code == other.code && output == other.output;
  }
};
std::ostream& operator<<(std::ostream& out, const Outcome& outcome);

// A call of the C library that is to fail; none when nth is 0.
struct FailedCall {
  shim_function function = kShimFunctions;
  int nth = 0;
  int error = 0;
};

// The driver installed in /tmp/site, beside it a prompt program that obeys and
// notes, and a reader known as /dev/COM3 as well.
// Copies share all of it but the shim's settings: one for each thread.
class Bench {
 public:
  Bench();

  // A new reader with a finger on it, on a line with nothing left over.
  void RenewReader();
  corvex::vreader::VirtualReader& Reader() { return *reader_; }
  DriverSite& Site() { return *site_; }
  std::string PortPath() const { return "/dev/" + reader_->PortName(); }
  const char* Port() const { return reader_->PortName().c_str(); }

  // Runs the driver's part of a call, and nothing else, under the shim.
  template <typename Call>
  auto InShim(Call call) {
    EnterShim();
    const auto result = call();
    report_ = shim_leave();
    return result;
  }

  void Fail(const FailedCall& failed) { failed_ = failed; }
  void SleepForProcesses(bool really) { sleeps_for_processes_ = really; }
  // Replies are waited for in earnest: the reader is not this process's.
  void WaitForReplies() { waits_for_replies_ = true; }
  const shim_report_t& Report() const { return report_; }

 private:
  void EnterShim();

  std::shared_ptr<DriverSite> site_;
  std::shared_ptr<corvex::vreader::VirtualReader> reader_;
  FailedCall failed_;
  bool sleeps_for_processes_ = false;
  bool waits_for_replies_ = false;
  shim_report_t report_{};
};

struct ExportedCall {
  const char* name;
  Outcome (*run)(Bench& bench);
  std::vector<int> exchange_failures;
  std::vector<int> memory_failures;
  std::vector<int> site_failures;  // of what lies beside the driver
  bool prompts = false;       // starts processes and uses the shared segment
  bool keeps_memory = false;  // for the next call or until the thread ends
};

extern const std::vector<ExportedCall> kExportedCalls;

std::ostream& operator<<(std::ostream& out, const ExportedCall& call);

Outcome MakeCall(const ExportedCall& call, Bench& bench,
                 const FailedCall& failed = {});

// The record that the bench's finger gives.
corvex::vreader::Bytes BenchRecord();

// How many shared segments this world has.
int Segments();

// Whether a prompt program runs; one that has ended does not count.
bool PromptRuns();

// Longer runs, for a machine with the time: MV_RELIABILITY=long.
bool IsLongRun();

}  // namespace support

#endif  // TESTS_RELIABILITY_EXPORTED_CALLS_H_
