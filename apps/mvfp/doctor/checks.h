// The checks, in families. Each adds what it found: one line for people, and
// where something can be mended, the one command that mends it.
#ifndef APPS_MVFP_DOCTOR_CHECKS_H_
#define APPS_MVFP_DOCTOR_CHECKS_H_

#include <string>
#include <vector>

#include "doctor/box.h"

namespace corvex::mvfp::doctor {

constexpr char kOk[] = "ok";
constexpr char kNote[] = "note";        // calls work, with less comfort
constexpr char kProblem[] = "problem";  // calls fail

struct Finding {
  std::string level;    // one of the above
  std::string check;    // one word
  std::string text;     // what was found
  std::string command;  // that mends it; may be empty
};
using Findings = std::vector<Finding>;

// The driver's file, and the algorithm library beside it.
void CheckDriver(const Box& box, Findings* findings);

// The lock that lets one call run at a time.
Finding CheckLock(const Box& box);

// The day's diagnostic log.
Finding CheckLog();

// What guided enrolment wants: the window's program, pgrep, display, font.
void CheckWindow(const Box& box, Findings* findings);

// Whether the port can be opened and whether anybody else has it open; if so,
// who else talks on the line (log-ins, the kernel's console, modem probers),
// and the name that the JSON entry knows the port by.
Findings CheckPort(const Box& box, const std::string& port);

// A daemon that takes adapters away.
void CheckBraille(const Box& box, Findings* findings);

}  // namespace corvex::mvfp::doctor

#endif  // APPS_MVFP_DOCTOR_CHECKS_H_
