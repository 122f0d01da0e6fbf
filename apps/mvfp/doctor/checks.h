// The steps of a call, each tried as the driver takes it, and what is looked at
// only to say why one failed.
#ifndef APPS_MVFP_DOCTOR_CHECKS_H_
#define APPS_MVFP_DOCTOR_CHECKS_H_

#include <string>
#include <vector>

namespace corvex::mvfp::doctor {

constexpr char kOk[] = "ok";
constexpr char kNote[] = "note";        // calls work, with less comfort
constexpr char kBusy[] = "busy";        // a call runs: nothing could be tried
constexpr char kProblem[] = "problem";  // calls fail

struct Finding {
  std::string level;    // one of the above
  std::string check;    // one word
  std::string text;     // what happened
  std::string command;  // that mends it, or tells more; may be empty
};

// Loads the driver as a host does.
Finding TryDriver();

// Lets the driver compare dual-feature records, which the algorithm library
// does. Only they need it.
Finding TryLibrary();

// Lets the driver show the prompt window for a moment.
Finding TryWindow();

// Lets the service for web pages try itself.
std::vector<Finding> TryWeb();

}  // namespace corvex::mvfp::doctor

#endif  // APPS_MVFP_DOCTOR_CHECKS_H_
