// inspect: a record as a table and as a picture. Touches no reader.
#include <array>
#include <cstdio>

#include "commands.h"
#include "drawing.h"
#include "record_source.h"

namespace corvex::mvfp {
namespace {

Json ToJson(const Record& record) {
  Json minutiae = Json::array();
  for (size_t i = 0; i < record.minutiae.size(); ++i) {
    const Minutia& m = record.minutiae[i];
    minutiae.push_back({{"index", i},
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
      {"valid", record.IsValid()},    {"bytes", record.bytes.size()},
      {"class", record.header_class}, {"dual_feature", record.is_dual_feature},
      {"count", record.count},        {"minutiae", minutiae},
      {"findings", findings}};
}

std::string Row(const char* format, size_t index, const Minutia& m) {
  std::array<char, 80> row{};
  snprintf(row.data(), row.size(), format, index, m.x, m.y, m.direction,
           m.weight, m.kind, m.auxiliary);
  return row.data();
}

std::string Table(const Record& record) {
  if (record.minutiae.empty()) return "";
  std::string table = "index    x    y  direction  weight  kind  auxiliary\n";
  for (size_t i = 0; i < record.minutiae.size(); ++i) {
    table += Row("%5zu  %3d  %3d  %9d  %6d  %4d  %9d\n", i, record.minutiae[i]);
  }
  return table;
}

std::string Headline(const Record& record) {
  const std::string head = std::to_string(record.bytes.size()) +
                           " bytes, class " +
                           std::to_string(record.header_class);
  if (record.is_dual_feature) {
    return head +
           ": a dual-feature record; only the algorithm library can "
           "read its body\n";
  }
  return head + ", " + std::to_string(record.count) + " minutiae\n";
}

void SayFindings(const SourcedRecord& source) {
  for (const Finding& finding : source.record.findings) {
    Say((finding.fatal ? "malformed: " : "note: ") + finding.where + ": " +
        finding.what);
  }
}

bool CheckPicture(const Config& config, Failure* failure) {
  if (config.picture.empty()) return true;
  if (FormatOf(config.picture) != PictureFormat::kNone) return true;
  failure->exit_code = kExitUsage;
  failure->what = "cannot tell the format of the picture " + config.picture;
  failure->next = "let its name end in .svg or .png";
  return false;
}

// A malformed record still has places to show; a dual-feature one has none.
bool Draw(const Config& config, const SourcedRecord& source, Failure* failure) {
  if (config.picture.empty()) return true;
  failure->what = "cannot draw " + config.picture + ": ";
  if (source.record.is_dual_feature) {
    failure->exit_code = kExitUsage;
    failure->what += "a dual-feature record shows no minutiae";
    return false;
  }
  const std::string trouble =
      DrawRecord(source.record, source.name, config.picture);
  if (!trouble.empty()) {
    failure->what += trouble;
    return false;
  }
  Say("drew " + config.picture);
  return true;
}

}  // namespace

int RunInspect(const Config& config) {
  SourcedRecord source;
  Failure failure;
  if (!CheckPicture(config, &failure) ||
      !LoadRecord(config.first, &source, &failure)) {
    return PrintFailure(config, failure);
  }
  SayFindings(source);
  if (!Draw(config, source, &failure)) return PrintFailure(config, failure);
  const Record& record = source.record;
  return PrintResult(config, ToJson(record), Headline(record) + Table(record),
                     record.IsValid() ? kExitOk : kExitNo);
}

}  // namespace corvex::mvfp
