// explain: what the driver's result codes mean, as text, as JSON and as the
// page of the documentation.
#include <strings.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "calls/result_codes.h"
#include "commands/commands.h"
#include "patterns.h"

namespace corvex::mvfp {
namespace {

constexpr Help kHelp = {
    "explain", "Explain a result code of the driver",
    R"(The same number means different things in different calls: name the call too,
as in mv_fpi.h or without its prefix, to get only what it means there. A code
is given as a number or by its constant. Without a code, all are listed.

Examples:
  mvfp explain -14
  mvfp explain -14 FG_GetFeature
  mvfp explain FG_ERR_SELECTOR getfeature
)"};

struct Options {
  std::string code;      // a number or a constant; "" for any
  std::string function;  // "" for any
  bool markdown = false;
};

constexpr char kPageHead[] =
    R"(# Result codes

<!-- Made by: mvfp explain --markdown -->

What a call of the driver returns when it fails, with the constants of
`mv_fpi.h`. The same number means different things in different calls, and some
numbers mean two things in one call; the message of the call and the time it
took tell them apart, and the day's log (`mvfp log on`) says it outright.
`mvfp explain CODE FUNCTION` prints one entry.
)";

template <typename Items>
std::string Joined(const Items& items, const char* quote = "") {
  std::ostringstream text;
  const char* between = "";
  for (const auto& item : items) {
    text << between << quote << item << quote;
    between = ", ";
  }
  return text.str();
}

// A text broken between words, its lines one below the other behind a label;
// nothing where there is no text.
std::string Labelled(const std::string& label, const std::string& text) {
  constexpr size_t kColumns = 80;
  constexpr size_t kLabelColumns = 10;
  std::string block;
  std::string line = "  " + label;
  line.resize(kLabelColumns, ' ');
  std::istringstream words(text);
  for (std::string word; words >> word; line += " " + word) {
    if (line.size() + 1 + word.size() <= kColumns) continue;
    block += line + "\n";
    line.assign(kLabelColumns, ' ');
  }
  return text.empty() ? "" : block + line + "\n";
}

// A code without a constant stands under its number alone.
bool HasConstant(const Meaning& row) {
  return row.name != std::to_string(row.code);
}

// One line for each row, or all that is known of it.
std::string Text(const Meanings& rows, bool in_full) {
  std::string text;
  for (const Meaning& row : rows) {
    std::string title = std::to_string(row.code);
    if (HasConstant(row)) title += " " + row.name;
    if (!in_full) {
      title.resize(29, ' ');
      text += title + row.meaning + "\n";
      continue;
    }
    text += (text.empty() ? "" : "\n") + title + "\n" +
            Labelled("calls", Joined(row.calls)) +
            Labelled("message", row.message) +
            Labelled("meaning", row.meaning) + Labelled("cause", row.cause) +
            Labelled("remedy", row.remedy);
  }
  return text;
}

std::string Item(const std::string& label, const std::string& text) {
  const std::string no_html = ReplacePattern(text, "<", "\\<");
  return text.empty() ? "" : "- " + label + ": " + no_html + "\n";
}

std::string Page() {
  std::string page = kPageHead;
  int code = 0;
  for (const Meaning& row : AllMeanings()) {
    if (row.code != code) page += "\n## " + std::to_string(row.code) + "\n";
    code = row.code;
    page += "\n" + (HasConstant(row) ? "`" + row.name + "`: " : "") +
            row.meaning + "\n\n" + Item("calls", Joined(row.calls, "`")) +
            Item("comes", row.at_once ? "" : "not before 0.25 s") +
            Item("message", row.message) + Item("cause", row.cause) +
            Item("remedy", row.remedy);
  }
  return page;
}

// By its exported name, in any case and also without "FG_" or "DEV_"; "" by
// none. Throws a Failure when no call is named so.
std::string FindCall(const std::string& name) {
  std::set<std::string> calls;
  for (const Meaning& row : AllMeanings()) {
    calls.insert(row.calls.begin(), row.calls.end());
  }
  for (const std::string& call : calls) {
    const std::string bare = call.substr(call.find('_') + 1);
    if (strcasecmp(name.c_str(), call.c_str()) == 0 ||
        strcasecmp(name.c_str(), bare.c_str()) == 0) {
      return call;
    }
  }
  if (name.empty()) return "";
  throw UsageFailure("no call is named \"" + name + "\"",
                     "the calls with result codes: " + Joined(calls));
}

int Explain(const Report& report, const Options& options) {
  if (options.markdown) return report.Result({{"page", Page()}}, Page());
  const std::string& code = options.code;
  const std::string call = FindCall(options.function);
  const Meanings known = Where(AllMeanings(), [&](const Meaning& row) {
    return call.empty() || CanGive(call, row);
  });
  const Meanings found = Where(known, [&](const Meaning& row) {
    return code.empty() || code == std::to_string(row.code) || code == row.name;
  });
  if (found.empty()) {
    std::set<int, std::greater<>> codes;
    for (const Meaning& row : known) codes.insert(row.code);
    const std::string who = call.empty() ? "a call" : call;
    throw UsageFailure(
        who + " never fails with " + code,
        "0 and more is success; the failures of " + who + ": " + Joined(codes));
  }
  return report.Result({{"meanings", AsJson(found)}},
                       Text(found, !code.empty()));
}

}  // namespace

void AddExplain(CommandLine* line) {
  const auto [arguments, options] = line->Add(kHelp, Explain);
  const Argument code =
      arguments.Text("CODE", &options->code, "The code: -14 or FG_ERR_BUSY");
  arguments.Text("FUNCTION", &options->function, "The call that gave it");
  arguments
      .Flag("--markdown", &options->markdown,
            "Print all codes as a Markdown page")
      .Excludes(code);
}

}  // namespace corvex::mvfp
