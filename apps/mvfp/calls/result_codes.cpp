#include "calls/result_codes.h"

#include <functional>

#include "calls/result_codes_table.h"
#include "ports/port.h"

namespace corvex::mvfp {
namespace {

// No call talks to the reader before its first pause of 250 ms is over.
constexpr long kFirstPauseMs = 250;

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
  const auto at_once = [](const Meaning& row) { return row.at_once; };
  if (reply.elapsed_ms < kFirstPauseMs) {
    Keep(&found, at_once);
  } else {
    // A busy machine may be late with any answer, so this is but likelier.
    std::stable_partition(found.begin(), found.end(), std::not_fn(at_once));
  }
  return found;
}

// What the tool can see for itself says more than the general remedy.
std::string RemedyFor(const Meaning& row, const DeviceOptions& options) {
  if (row.code != FG_ERR_PORT || !row.at_once) return row.remedy;
  const PortTrial trial = TryPort(PortOf(options));
  return trial.error == 0 ? row.remedy
                          : trial.trouble + "; try: " + trial.command;
}

}  // namespace

const Meanings& AllMeanings() {
  static const Meanings rows = nlohmann::json::parse(kResultCodes);
  return rows;
}

bool CanGive(const std::string& call, const Meaning& row) {
  return std::find(row.calls.begin(), row.calls.end(), call) != row.calls.end();
}

Failure CallFailure(const std::string& call, const Reply& reply,
                    const DeviceOptions& options) {
  const bool is_no_press =
      reply.rc == FG_ERR_TIMEOUT || reply.rc == FG_ERR_CANCELLED;
  Failure failure{"", "", is_no_press ? kExitNoPress : kExitFailed};
  const Meanings rows = LikelyMeanings(call, reply);
  for (const Meaning& row : rows) {
    const char* const between = failure.what.empty() ? "" : "; or ";
    failure.what += between + row.meaning;
    failure.next += between + RemedyFor(row, options);
  }
  if (rows.empty()) {
    failure.what = "the driver gave a code that this tool does not know";
    failure.next = "see the day's log: mvfp log on";
  }
  failure.what += " (" + call + " " + std::to_string(reply.rc) + ")";
  failure.details = {{"function", call},
                     {"code", reply.rc},
                     {"message", reply.message},
                     {"meanings", nlohmann::json(rows)}};
  return failure;
}

}  // namespace corvex::mvfp
