// match: compares two records. Touches no reader.
#include <nlohmann/json.hpp>
#include <sstream>

#include "calls/driver.h"
#include "calls/result_codes.h"
#include "commands/commands.h"
#include "mv_fpi/thresholds.h"
#include "records/record.h"

namespace corvex::mvfp {
namespace {

constexpr Help kHelp = {
    "match", "Compare two records",
    R"(A record is the name of a file that holds it (@NAME for certain), - for
standard input, or the text itself: Base64, or hexadecimal digits. Prints the
score and the decision; exit 0 is a match, 1 is none. Level 0 prints the score
alone. The score must exceed 30, 32, 36, 40 or 45 at levels 1 to 5.

Examples:
  mvfp match anna.template door.feature
  mvfp match --level 5 anna.template door.feature
  mvfp capture --port ttyUSB0 | mvfp match anna.template -
)"};

struct Options {
  std::string first;
  std::string second;
  int level = 3;
};

// What is wrong with either, each thing once.
std::string FaultsOf(const Record& first, const Record& second) {
  std::string faults;
  for (const Record& record : {first, second}) {
    for (const Finding& finding : record.findings) {
      const std::string fault = "; " + InWords(record, finding);
      if (faults.find(fault) == std::string::npos) faults += fault;
    }
  }
  return faults;
}

Failure Malformed(const Record& first, const Record& second) {
  return {"a record is malformed" + FaultsOf(first, second),
          "look at each record: mvfp inspect RECORD", kExitNo};
}

int Match(const Report& report, const Options& options) {
  const auto match = MVFP_DRIVER_CALL(FG_FpMatch);
  const Record first = LoadRecord(options.first);
  const Record second = LoadRecord(options.second);
  // The driver reads what it can of a record; half a finger is none.
  if (!IsValid(first) || !IsValid(second)) throw Malformed(first, second);
  const bool is_dual = first.is_dual_feature || second.is_dual_feature;
  const auto compare = [&](int level) {
    return match.run(first.text.c_str(), second.text.c_str(), level);
  };
  const auto failure = [&](int code) {
    return CallFailure(match.name, Reply{code, true, 0, "", ""});
  };

  const int score = compare(FG_LEVEL_SCORE);
  if (score == FG_ERR_NO_LIBRARY) throw failure(score);
  // The library's own scores may be anything, the matcher's are 0 to 100.
  if (score < 0 && !is_dual) throw Malformed(first, second);
  if (options.level == FG_LEVEL_SCORE) {
    return report.Result({{"score", score}},
                         "score " + std::to_string(score) + "\n");
  }
  const int decision = compare(options.level);
  if (decision != FG_OK && decision != FG_ERR_NO_MATCH) throw failure(decision);
  const bool matches = decision == FG_OK;
  const int limit =
      (is_dual ? kLibraryMatchThresholds : kMatchThresholds)[options.level];
  std::ostringstream text;
  text << (matches ? "match" : "no match") << ": score " << score << ", level "
       << options.level << " takes more than " << limit << "\n";
  return report.Result({{"match", matches},
                        {"score", score},
                        {"level", options.level},
                        {"score_must_exceed", limit}},
                       text.str(), matches ? kExitOk : kExitNo);
}

}  // namespace

void AddMatch(CommandLine* line) {
  const auto [arguments, options] = line->Add(kHelp, Match);
  arguments.Text("FIRST", &options->first, "The template").Required();
  arguments.Text("SECOND", &options->second, "The feature to compare")
      .Required();
  arguments
      .Number("-l,--level", &options->level, FG_LEVEL_SCORE, FG_LEVEL_HIGHEST,
              "Security level 1 to 5 [3]; 0: the score alone")
      .Named("LEVEL");
}

}  // namespace corvex::mvfp
