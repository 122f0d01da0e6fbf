// The driver's result codes in words, one row for each thing that a number can
// mean in a call. The same number means different things in different calls,
// and some numbers mean two things in one call. The rows stand in
// python/mv_fpi/result_codes.json, which the Python package reads too.
#ifndef APPS_MVFP_CALLS_RESULT_CODES_H_
#define APPS_MVFP_CALLS_RESULT_CODES_H_

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "calls/device_call.h"
#include "report.h"

namespace corvex::mvfp {

struct Meaning {
  std::vector<std::string> calls;  // that can give it, such as "FG_GetFeature"
  int code;
  std::string name;     // its constant in mv_fpi.h
  bool at_once;         // else only after the call began to talk to the reader
  std::string message;  // what the call then says; "" when nothing
  std::string meaning;
  std::string cause;
  std::string remedy;
};

using Meanings = std::vector<Meaning>;

// Every row, -1 first.
const Meanings& AllMeanings();

Json AsJson(const Meanings& rows);

// Those rows that fit.
template <typename Fits>
Meanings Where(const Meanings& rows, const Fits& fits) {
  Meanings fitting;
  std::copy_if(rows.begin(), rows.end(), std::back_inserter(fitting), fits);
  return fitting;
}

bool CanGive(const std::string& call, const Meaning& row);

// What to print about a call of that name that left a code other than success:
// what the code can mean there, less what the message and the duration of the
// call rule out.
Failure CallFailure(const std::string& call, const Reply& reply,
                    const DeviceOptions& options = {});

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_CALLS_RESULT_CODES_H_
