// inspect: a record as a table and as a picture. Touches no reader.
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "commands/commands.h"
#include "files.h"
#include "records/drawing.h"
#include "records/record.h"

namespace corvex::mvfp {
namespace {

constexpr Help kHelp = {
    "inspect", "Show a record as a table or a picture",
    R"(A record is given as for match. What is wrong with a malformed one, and where,
goes to standard error; the exit code is then 1.

Examples:
  mvfp inspect anna.template
  mvfp inspect anna.template --picture anna.svg
  mvfp inspect EgACZKDIMkWgZMgyRQ== --json
)"};

struct Options {
  std::string record;
  std::string picture;  // file name ending in .svg or .png
};

Json AsJson(const Record& record) {
  Json minutiae = Json::array();
  for (const Minutia& m : record.minutiae) {
    minutiae.push_back({{"index", minutiae.size()},
                        {"x", m.x},
                        {"y", m.y},
                        {"direction", m.direction},
                        {"weight", m.weight},
                        {"kind", m.kind},
                        {"auxiliary", m.auxiliary}});
  }
  Json findings = Json::array();
  for (const Finding& finding : record.findings) {
    findings.push_back({{"fatal", finding.fatal},
                        {"where", finding.where},
                        {"what", finding.what}});
  }
  return {
      {"valid", IsValid(record)},     {"bytes", record.bytes.size()},
      {"class", record.header_class}, {"dual_feature", record.is_dual_feature},
      {"count", record.count},        {"minutiae", minutiae},
      {"findings", findings}};
}

std::string Table(const Record& record) {
  std::string table =
      std::to_string(record.bytes.size()) + " bytes, class " +
      std::to_string(record.header_class) +
      (record.is_dual_feature
           ? ": a dual-feature record; only the algorithm library can read "
             "its body\n"
           : ", " + std::to_string(record.count) + " minutiae\n");
  if (record.minutiae.empty()) return table;
  table += "index    x    y  direction  weight  kind  auxiliary\n";
  int index = 0;
  for (const Minutia& m : record.minutiae) {
    std::array<char, 80> row{};
    snprintf(row.data(), row.size(), "%5d  %3d  %3d  %9d  %6d  %4d  %9d\n",
             index++, m.x, m.y, m.direction, m.weight, m.kind, m.auxiliary);
    table += row.data();
  }
  return table;
}

// A malformed record still has places to show; a dual-feature one has none.
void Draw(const Record& record, const std::string& picture) {
  if (record.is_dual_feature) {
    throw UsageFailure(
        "cannot draw " + picture + ": a dual-feature record shows no minutiae",
        "");
  }
  const std::string drawing =
      DrawRecord(record, record.source, FormatOf(picture));
  if (!WriteText(picture, drawing, kOwnersAlone)) {
    throw SystemFailure("draw", picture, "name another file with --picture",
                        kExitUsage);
  }
  Say("drew " + picture);
}

int Inspect(const Report& report, const Options& options) {
  const std::string& picture = options.picture;
  if (!picture.empty()) CheckPictureName(picture);
  const Record record = LoadRecord(options.record);
  for (const Finding& finding : record.findings) {
    Say((finding.fatal ? "malformed: " : "note: ") + finding.where + ": " +
        finding.what);
  }
  try {
    if (!picture.empty()) Draw(record, picture);
  } catch (Failure& failure) {
    // The table is not lost with the picture.
    failure.details = Details({{"record", AsJson(record)}});
    if (!report.IsJson()) report.Result({}, Table(record));
    throw;
  }
  return report.Result(AsJson(record), Table(record),
                       IsValid(record) ? kExitOk : kExitNo);
}

}  // namespace

void AddInspect(CommandLine* line) {
  const auto [arguments, options] = line->Add(kHelp, Inspect);
  arguments.Text("RECORD", &options->record, "The record").Required();
  arguments
      .Text("--picture", &options->picture,
            "Draw the minutiae to a file: NAME.svg or NAME.png")
      .Named("FILE");
}

}  // namespace corvex::mvfp
