// explain: what the driver's result codes mean, as text, as JSON and as the
// page of the documentation.
#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "call_failure.h"
#include "commands.h"
#include "report.h"
#include "result_codes.h"

namespace corvex::mvfp {
namespace {

using Meanings = std::vector<const CodeMeaning*>;

constexpr unsigned kAnyCall = ~0U;
constexpr size_t kColumns = 80;
constexpr size_t kLabelColumns = 11;

constexpr char kPageHead[] =
    R"(# Result codes

<!-- Made by: mvfp explain --markdown -->

What a call of the driver returns when it fails, with the constants of
`mv_fpi.h`. The same number means different things in different calls, and some
numbers mean two things in one call; the message of the call and the time it
took tell them apart, and the day's log (`mvfp log on`) says it outright.
`mvfp explain CODE FUNCTION` prints one entry.
)";

// A text broken between words, its lines one below the other behind a label.
std::string Labelled(std::string label, const std::string& text) {
  label.resize(kLabelColumns, ' ');
  std::string block = label;
  size_t column = kLabelColumns;
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find(' ', at), text.size());
    if (column > kLabelColumns && column + 1 + end - at > kColumns) {
      block += "\n" + std::string(kLabelColumns, ' ');
      column = kLabelColumns;
    }
    if (column > kLabelColumns) block += ' ';
    block.append(text, at, end - at);
    column += 1 + end - at;
    at = end + 1;
  }
  return block + "\n";
}

std::string CallNames(const CodeMeaning& row, const std::string& quote = "") {
  std::string names;
  for (const Call call : CallsOf(row.calls)) {
    if (!names.empty()) names += ", ";
    names.append(quote).append(NameOf(call)).append(quote);
  }
  return names;
}

// A code without a constant stands under its number alone.
std::string Title(const CodeMeaning& row) {
  const std::string number = std::to_string(row.code);
  return row.name == number ? number : number + " " + row.name;
}

std::string Entry(const CodeMeaning& row) {
  std::string entry = Title(row) + "\n" + Labelled("  calls", CallNames(row));
  if (*row.status != '\0') entry += Labelled("  message", row.status);
  return entry + Labelled("  meaning", row.meaning) +
         Labelled("  cause", row.cause) + Labelled("  remedy", row.remedy);
}

std::string Entries(const Meanings& rows) {
  std::string text;
  for (const CodeMeaning* row : rows) {
    text += (text.empty() ? "" : "\n") + Entry(*row);
  }
  return text;
}

// One line for each row.
std::string List(const Meanings& rows) {
  std::string text;
  for (const CodeMeaning* row : rows) {
    std::string title = Title(*row);
    title.resize(29, ' ');
    text += title + row->meaning + "\n";
  }
  return text;
}

std::string Item(const std::string& label, const std::string& text) {
  if (text.empty()) return "";
  std::string item = "- " + label + ": ";
  for (const char c : text) {
    if (c == '<') item += '\\';  // no HTML
    item += c;
  }
  return item + "\n";
}

std::string Section(const CodeMeaning& row) {
  const bool has_constant = row.name != std::to_string(row.code);
  return (has_constant ? "`" + std::string(row.name) + "`: " : "") +
         row.meaning + "\n\n" + Item("calls", CallNames(row, "`")) +
         Item("comes", row.stage == Stage::kAtOnce ? "" : "not before 0.25 s") +
         Item("message", row.status) + Item("cause", row.cause) +
         Item("remedy", row.remedy);
}

std::string Page() {
  std::string page = kPageHead;
  int code = 0;
  for (const CodeMeaning* row : AllMeanings()) {
    if (row->code != code) page += "\n## " + std::to_string(row->code) + "\n";
    code = row->code;
    page += "\n" + Section(*row);
  }
  return page;
}

Json AsJson(const Meanings& rows) {
  Json array = Json::array();
  for (const CodeMeaning* row : rows) {
    Json object = {{"code", row->code}, {"calls", Json::array()}};
    for (const Call call : CallsOf(row->calls)) {
      object["calls"].push_back(NameOf(call));
    }
    object["at_once"] = row->stage == Stage::kAtOnce;
    object["message"] = row->status;
    object.update(ToJson(*row));
    array.push_back(object);
  }
  return {{"meanings", array}};
}

bool Names(const std::string& code, const CodeMeaning& row) {
  return code.empty() || code == std::to_string(row.code) || code == row.name;
}

Meanings Find(const std::string& code, unsigned calls) {
  Meanings found;
  for (const CodeMeaning* row : AllMeanings()) {
    if ((row->calls & calls) != 0 && Names(code, *row)) found.push_back(row);
  }
  return found;
}

int PrintUnknownFunction(const Config& config) {
  std::string names;
  for (const Call call : CallsOf(kAnyCall)) {
    names += std::string(names.empty() ? "" : ", ") + NameOf(call);
  }
  return PrintUsage(config, "no call is named \"" + config.function + "\"",
                    "the calls with result codes: " + names);
}

int PrintUnknownCode(const Config& config, const std::string& who,
                     const Meanings& known) {
  std::string codes;
  int last = 0;
  for (const CodeMeaning* row : known) {
    if (row->code != last) {
      codes += (codes.empty() ? "" : ", ") + std::to_string(row->code);
    }
    last = row->code;
  }
  return PrintUsage(
      config, who + " never fails with " + config.code,
      "0 and more is success; the failures of " + who + ": " + codes);
}

}  // namespace

int RunExplain(const Config& config) {
  if (config.markdown) return PrintResult(config, {{"page", Page()}}, Page());
  unsigned calls = kAnyCall;
  std::string who = "a call";
  if (!config.function.empty()) {
    const std::optional<Call> call = FindCall(config.function);
    if (!call) return PrintUnknownFunction(config);
    calls = *call;
    who = NameOf(*call);
  }
  const Meanings found = Find(config.code, calls);
  if (found.empty()) return PrintUnknownCode(config, who, Find("", calls));
  return PrintResult(config, AsJson(found),
                     config.code.empty() ? List(found) : Entries(found));
}

}  // namespace corvex::mvfp
