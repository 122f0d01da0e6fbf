#include "calls/result_codes.h"

#include <functional>
#include <nlohmann/json.hpp>

#include "machine/call_lock.h"
#include "ports/port.h"
#include "result_codes_table.h"

namespace corvex::mvfp {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Meaning, calls, code, name, at_once, message,
                                   meaning, cause, remedy)

namespace {

// Drops the rows that do not fit, unless none fits: then it returns false.
template <typename Fits>
bool Keep(Meanings* rows, const Fits& fits) {
  const Meanings fitting = Where(*rows, fits);
  if (!fitting.empty()) *rows = fitting;
  return !fitting.empty();
}

// Whether a call waits for presses and says in a message how that went.
bool IsCapture(const std::string& call) {
  return call == "FG_GetFeature" || call == "FG_GetTemplate" ||
         call == "FG_TipsGetTemplate";
}

Meanings LikelyMeanings(const std::string& call, const Reply& reply) {
  Meanings found = Where(AllMeanings(), [&](const Meaning& row) {
    return row.code == reply.rc && CanGive(call, row);
  });
  const auto says = [](const std::string& text) {
    return [text](const Meaning& row) { return row.message == text; };
  };
  // A cause that has a text of its own would have said it.
  if (IsCapture(call) && !Keep(&found, says(reply.message)))
    Keep(&found, says(""));
  Keep(&found,
       [&](const Meaning& row) { return row.at_once == reply.at_once; });
  return found;
}

struct Wording {
  std::string meaning;
  std::string remedy;
};

// What the tool can see for itself says more than what holds in general.
Wording WordingFor(const Meaning& row, const DeviceOptions& options) {
  if (row.at_once && row.code == FG_ERR_PORT) {
    const PortTrial trial = TryPort(PortOf(options));
    if (trial.is_usable) return {row.meaning, row.remedy};
    const std::string next = trial.command.empty() ? "" : "; try: ";
    return {row.meaning, trial.trouble + next + trial.command};
  }
  const int error = row.at_once && row.code == FG_ERR_BUSY ? TryCallLock() : 0;
  if (error == 0) return {row.meaning, row.remedy};
  const LockTrouble lock = ExplainLock(error);
  if (lock.is_held) {
    return {row.meaning, "it is " + lock.text + "; to wait for it: --wait 30"};
  }
  return {"no call can take the lock: " + lock.text, "try: " + lock.command};
}

ExitCode ExitFor(int code) {
  if (code == FG_ERR_TIMEOUT) return kExitNoPress;
  return code == FG_ERR_CANCELLED ? kExitCancelled : kExitFailed;
}

}  // namespace

const Meanings& AllMeanings() {
  static const Meanings rows = nlohmann::json::parse(kResultCodes);
  return rows;
}

Json AsJson(const Meanings& rows) { return nlohmann::json(rows); }

bool CanGive(const std::string& call, const Meaning& row) {
  return std::find(row.calls.begin(), row.calls.end(), call) != row.calls.end();
}

Failure CallFailure(const std::string& call, const Reply& reply,
                    const DeviceOptions& options) {
  Failure failure{"", "", ExitFor(reply.rc)};
  const Meanings rows = LikelyMeanings(call, reply);
  for (const Meaning& row : rows) {
    const char* const between = failure.what.empty() ? "" : "; or ";
    const Wording words = WordingFor(row, options);
    failure.what += between + words.meaning;
    failure.next += between + words.remedy;
  }
  if (rows.empty()) {
    failure.what = "the driver gave a code that this tool does not know";
    failure.next = "see the day's log: mvfp log on";
  }
  failure.what += " (" + call + " " + std::to_string(reply.rc) + ")";
  failure.details = Details({{"function", call},
                             {"code", reply.rc},
                             {"message", reply.message},
                             {"meanings", AsJson(rows)}});
  return failure;
}

}  // namespace corvex::mvfp
