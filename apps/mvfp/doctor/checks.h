// The checks, in families. Each adds what it found: one line for people, and
// where something can be mended, the one command that mends it.
#ifndef APPS_MVFP_DOCTOR_CHECKS_H_
#define APPS_MVFP_DOCTOR_CHECKS_H_

#include <string>
#include <vector>

#include "doctor/box.h"

namespace corvex::mvfp::doctor {

enum class Level { kOk, kNote, kProblem };  // a problem: calls fail

struct Finding {
  Level level;
  std::string check;    // one word
  std::string text;     // what was found
  std::string command;  // that mends it; may be empty
};
using Findings = std::vector<Finding>;

// The driver's file, and the algorithm library beside it.
void CheckDriver(const Box& box, Findings* findings);

// The lock that lets one call run at a time.
void CheckLock(const Box& box, Findings* findings);

// The day's diagnostic log.
void CheckLog(const Box& box, Findings* findings);

// What guided enrolment wants: the window's program, pgrep, display, font.
void CheckWindow(const Box& box, Findings* findings);

// A daemon that takes adapters away.
void CheckBraille(const Box& box, Findings* findings);

// The ports of this machine that may have a reader, as names below /dev.
std::vector<std::string> LikelyPorts();

// Whether the port can be opened and whether anybody else has it open. False
// when it cannot be opened: then the other checks of it make no sense.
bool CheckPort(const Box& box, const std::string& port, Findings* findings);

// Who else talks on the line: log-ins, the kernel's console, modem probers.
void CheckNeighbours(const Box& box, const std::string& port,
                     Findings* findings);

// The name that the JSON entry knows the port by.
void CheckComLink(const Box& box, const std::string& port, Findings* findings);

// The command that gives the port such a name, and the package's rights.
std::string BindCommand(const std::string& port);

}  // namespace corvex::mvfp::doctor

#endif  // APPS_MVFP_DOCTOR_CHECKS_H_
