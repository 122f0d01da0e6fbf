// The time-out of the capture and enrolment calls.
#ifndef SRC_MV_FPI_DEADLINE_H_
#define SRC_MV_FPI_DEADLINE_H_

#include <cstdint>
#include <ctime>

namespace corvex {

// A time-out in whole seconds of the wall clock, running from construction. A
// clock that is set back makes it pass at once.
class Deadline {
 public:
  explicit Deadline(int32_t timeout_s)
      : start_(time(nullptr)), timeout_s_(static_cast<uint64_t>(timeout_s)) {}

  bool Passed() const {
    return static_cast<uint64_t>(time(nullptr) - start_) >= timeout_s_;
  }

 private:
  const time_t start_;
  const uint64_t timeout_s_;
};

}  // namespace corvex

#endif  // SRC_MV_FPI_DEADLINE_H_
