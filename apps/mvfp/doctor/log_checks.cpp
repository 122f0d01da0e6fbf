#include <unistd.h>

#include "day_log.h"
#include "doctor/checks.h"

namespace corvex::mvfp::doctor {

// Calls work in any case.
void CheckLog(const Box& /*box*/, Findings* findings) {
  constexpr char kCheck[] = "log";
  const std::string path = DayLogPath();
  switch (StateOf(path)) {
    case LogState::kOff:
      findings->push_back({Level::kOk, kCheck, "off", ""});
      return;
    case LogState::kForeign:
      findings->push_back({Level::kNote, kCheck,
                           path + " is no regular file: nothing is logged",
                           "sudo rm -r " + path});
      return;
    case LogState::kOn:
      break;
  }
  const bool writable = access(path.c_str(), W_OK) == 0;
  findings->push_back(
      writable
          ? Finding{Level::kNote, kCheck,
                    path + " is on: every call writes to it", "mvfp log off"}
          : Finding{Level::kNote, kCheck,
                    "you may not write " + path + ": nothing is logged",
                    "sudo chmod 666 " + path});
}

}  // namespace corvex::mvfp::doctor
