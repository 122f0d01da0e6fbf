// The driver's result codes in words: one row for each thing that a number
// can mean in a call. The same number means different things in different
// calls, and some numbers mean two things in one call.
#ifndef APPS_MVFP_RESULT_CODES_H_
#define APPS_MVFP_RESULT_CODES_H_

#include <optional>
#include <string>
#include <vector>

namespace corvex::mvfp {

// One bit for each exported call.
enum Call : unsigned {
  kGetDevVersion = 1U << 0,
  kGetDevSn = 1U << 1,
  kCheckPressed = 1U << 2,
  kGetFeature = 1U << 3,
  kGetTemplate = 1U << 4,
  kTipsGetTemplate = 1U << 5,
  kFpMatch = 1U << 6,
  kCommCall = 1U << 7,
};

// The exported name, such as "FG_GetFeature".
const char* NameOf(Call call);

// The members of a set.
std::vector<Call> CallsOf(unsigned calls);

// By its exported name, in any case and also without "FG_" or "DEV_". Nothing
// when no call is named so.
std::optional<Call> FindCall(const std::string& name);

// When a call can give a code: at once, or only after it began to talk to the
// reader, which no call does in its first quarter of a second.
enum class Stage { kAtOnce, kTalking };

struct CodeMeaning {
  unsigned calls;  // set of Call
  int code;
  const char* name;  // its constant in mv_fpi.h
  Stage stage;
  const char* status;  // what the call's message then says; "" when nothing
  const char* meaning;
  const char* cause;
  const char* remedy;
};

// Every row, -1 first.
std::vector<const CodeMeaning*> AllMeanings();

// What `code` can mean in `call`. Empty for a number that the call never gives.
std::vector<const CodeMeaning*> MeaningsOf(Call call, int code);

// The same, less what the message and the duration of the call rule out.
std::vector<const CodeMeaning*> MeaningsOf(Call call, int code,
                                           const std::string& message,
                                           long elapsed_ms);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_RESULT_CODES_H_
