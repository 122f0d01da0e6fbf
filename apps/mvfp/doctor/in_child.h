// What may end a process, tried in a child.
#ifndef APPS_MVFP_DOCTOR_IN_CHILD_H_
#define APPS_MVFP_DOCTOR_IN_CHILD_H_

#include <functional>
#include <string>

namespace corvex::mvfp::doctor {

struct Trial {
  bool ended = false;  // by itself; else it died, or took for ever
  std::string text;    // what the work returned, or how it ended otherwise
  std::string said;    // on standard error, by whatever ran
};

Trial InChild(const std::function<std::string()>& work);

}  // namespace corvex::mvfp::doctor

#endif  // APPS_MVFP_DOCTOR_IN_CHILD_H_
