// match: compares two records. Touches no reader.
#include <mv_fpi.h>

#include <string>
#include <vector>

#include "call_failure.h"
#include "commands.h"
#include "record_source.h"

namespace corvex::mvfp {
namespace {

// What the score must exceed, by level; dual-feature records are scored by
// the algorithm library, on a scale of its own.
constexpr int kMustExceed[] = {0, 30, 32, 36, 40, 45};
constexpr int kDualMustExceed[] = {0, 38, 40, 45, 50, 55};

void CollectFindings(const SourcedRecord& loaded,
                     std::vector<std::string>* findings) {
  for (const Finding& finding : loaded.record.findings) {
    findings->push_back(loaded.name + ": " + finding.where + ": " +
                        finding.what);
  }
}

// The driver takes a malformed record for one that does not match; a person
// wants to know which one it is.
int PrintMalformed(const Config& config,
                   const std::vector<std::string>& findings) {
  std::string what = "a record is malformed";
  for (const std::string& finding : findings) what += "; " + finding;
  return PrintUsage(config, what, "look at each record: mvfp inspect RECORD");
}

int PrintScore(const Config& config, int score) {
  return PrintResult(config, {{"score", score}},
                     "score " + std::to_string(score) + "\n");
}

int PrintDecision(const Config& config, int score, bool matches, bool is_dual) {
  const int limit = (is_dual ? kDualMustExceed : kMustExceed)[config.level];
  const Json fields = {{"match", matches},
                       {"score", score},
                       {"level", config.level},
                       {"score_must_exceed", limit}};
  const std::string text = std::string(matches ? "match" : "no match") +
                           ": score " + std::to_string(score) + ", level " +
                           std::to_string(config.level) + " takes more than " +
                           std::to_string(limit) + "\n";
  return PrintResult(config, fields, text, matches ? kExitOk : kExitNo);
}

int PrintMatchFailure(const Config& config, int code) {
  return PrintFailure(config, DescribeCode(kFpMatch, code, "", 0, ""));
}

int Compare(const Config& config, const Record& first, const Record& second,
            const std::vector<std::string>& findings) {
  const char* const a = first.text.c_str();
  const char* const b = second.text.c_str();
  const bool is_dual = first.is_dual_feature || second.is_dual_feature;
  const int score = FG_FpMatch(a, b, FG_LEVEL_SCORE);
  if (score == FG_ERR_NO_LIBRARY) return PrintMatchFailure(config, score);
  // The library's own scores may be anything, the matcher's are 0 to 100.
  if (score < 0 && !is_dual) return PrintMalformed(config, findings);
  for (const std::string& finding : findings) Say(finding);
  if (config.level == FG_LEVEL_SCORE) return PrintScore(config, score);
  const int decision = FG_FpMatch(a, b, config.level);
  if (decision != FG_OK && decision != FG_ERR_NO_MATCH) {
    return PrintMatchFailure(config, decision);
  }
  return PrintDecision(config, score, decision == FG_OK, is_dual);
}

}  // namespace

int RunMatch(const Config& config) {
  SourcedRecord first;
  SourcedRecord second;
  Failure failure;
  if (!LoadRecord(config.first, &first, &failure) ||
      !LoadRecord(config.second, &second, &failure)) {
    return PrintFailure(config, failure);
  }
  std::vector<std::string> findings;
  CollectFindings(first, &findings);
  CollectFindings(second, &findings);
  return Compare(config, first.record, second.record, findings);
}

}  // namespace corvex::mvfp
