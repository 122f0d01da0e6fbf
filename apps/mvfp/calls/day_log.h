// The driver's diagnostic log: /tmp/fplog_YYYYMMDD.log, one file a local day.
// Its presence switches it on; the driver never creates it.
#ifndef APPS_MVFP_CALLS_DAY_LOG_H_
#define APPS_MVFP_CALLS_DAY_LOG_H_

#include <string>
#include <vector>

namespace corvex::mvfp {

// The path of today's log.
std::string DayLogPath();

// Reads what is appended to the log, whichever day it is.
class LogFollower {
 public:
  // Starts behind what today's log already holds, or at its start.
  explicit LogFollower(bool from_start);
  ~LogFollower();
  LogFollower(const LogFollower&) = delete;
  LogFollower& operator=(const LogFollower&) = delete;

  // The lines that came since the last time, without their line ends.
  std::vector<std::string> Poll();

  // The log that is being read; "" while there is none.
  const std::string& OpenPath() const { return open_path_; }

  // Why a log that is there is not read, as errno; 0 when nothing is wrong.
  int OpenError() const { return open_error_; }

 private:
  void Open(const std::string& path, bool at_end);
  void Close();
  void Drain(std::vector<std::string>* lines);

  int file_ = -1;
  int open_error_ = 0;
  std::string open_path_;
  std::string current_path_;
  std::string partial_;  // a line whose end is still to come
};

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_CALLS_DAY_LOG_H_
