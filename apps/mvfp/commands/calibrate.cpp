// gallery calibrate: how well the site's own records are told apart.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "commands/gallery.h"
#include "files.h"
#include "gallery/calibration.h"
#include "gallery/rates_drawing.h"

namespace corvex::mvfp {
namespace {

constexpr Help kHelp = {
    "calibrate", "Measure how well its records are told apart",
    R"(Every pair of records of different ids is a stranger's trial, every pair of one
finger's records a genuine one. Prints for each level how many of them err, the
rate, and its bounds of 95 % confidence (Wilson's, as if the trials were
independent; trials that share a finger are not, so that the true bounds are
wider: see how many ids and fingers the errors come from). An id is taken for a
person: somebody enrolled under two ids makes false matches. Nothing but numbers
is printed, and nothing of a single record.

Examples:
  mvfp gallery calibrate
  mvfp gallery calibrate --picture rates.svg
  mvfp gallery calibrate --json
)"};

struct Options {
  std::string gallery;
  std::string picture;  // file name ending in .svg or .png
};

// One kind of error at one level.
struct Errors {
  uint64_t trials;
  uint64_t errors;
  uint64_t sources;  // pairs of ids, or fingers
  uint64_t erring_sources;
};

Errors FalseMatches(const Calibration& calibration, int threshold) {
  return {calibration.strangers.Count(), calibration.strangers.Above(threshold),
          calibration.ids.Count(), calibration.ids.Above(threshold)};
}

Errors FalseNonMatches(const Calibration& calibration, int threshold) {
  return {calibration.genuine.Count(), calibration.genuine.NotAbove(threshold),
          calibration.fingers.Count(), calibration.fingers.NotAbove(threshold)};
}

using ErrorsAt = Errors (*)(const Calibration& calibration, int threshold);

// Rates without a trial become null.
Json AsJson(const Errors& errors, const char* sources) {
  const Rate rate = RateOf(errors.errors, errors.trials);
  return {{"trials", errors.trials},
          {"errors", errors.errors},
          {"rate", rate.rate},
          {"low", rate.low},
          {"high", rate.high},
          {sources, errors.sources},
          {std::string(sources) + "_with_errors", errors.erring_sources}};
}

Json AsJson(const Calibration& calibration, size_t records) {
  Json levels = Json::array();
  for (int level = MV_LEVEL_LOWEST; level <= MV_LEVEL_HIGHEST; ++level) {
    const int threshold = mv_threshold(level);
    levels.push_back(
        {{"level", level},
         {"score_must_exceed", threshold},
         {"false_matches",
          AsJson(FalseMatches(calibration, threshold), "pairs_of_ids")},
         {"false_non_matches",
          AsJson(FalseNonMatches(calibration, threshold), "fingers")}});
  }
  return {{"records", records},
          {"confidence", 0.95},
          {"levels", levels},
          {"scores",
           {{"strangers", calibration.strangers.Times()},
            {"genuine", calibration.genuine.Times()}}}};
}

// With three digits that count.
std::string PerCent(double rate) {
  if (rate == 0) return "0";
  const double value = 100 * rate;
  const int decimals = 2 - static_cast<int>(std::floor(std::log10(value)));
  std::array<char, 40> text{};
  snprintf(text.data(), text.size(), "%.*f", std::clamp(decimals, 0, 12),
           value);
  return text.data();
}

std::string Table(const Calibration& calibration, ErrorsAt errors_at,
                  const char* sources) {
  std::string table =
      "level  score above    errors    rate, %       95 % bounds      " +
      std::string(sources) + "\n";
  for (int level = MV_LEVEL_LOWEST; level <= MV_LEVEL_HIGHEST; ++level) {
    const int threshold = mv_threshold(level);
    const Errors errors = errors_at(calibration, threshold);
    const Rate rate = RateOf(errors.errors, errors.trials);
    std::array<char, 160> row{};
    snprintf(row.data(), row.size(),
             "%5d  %11d  %8llu  %9s  %8s to %-8s  %llu of %llu\n", level,
             threshold, static_cast<unsigned long long>(errors.errors),
             PerCent(rate.rate).c_str(), PerCent(rate.low).c_str(),
             PerCent(rate.high).c_str(),
             static_cast<unsigned long long>(errors.erring_sources),
             static_cast<unsigned long long>(errors.sources));
    table += row.data();
  }
  return table;
}

std::string Section(const std::string& what, uint64_t trials,
                    const std::string& table) {
  return what + ": " + std::to_string(trials) + " trials\n" +
         (trials == 0 ? "" : table);
}

std::string AsText(const Calibration& calibration) {
  return Section("False matches, records of different ids",
                 calibration.strangers.Count(),
                 Table(calibration, FalseMatches, "erring pairs of ids")) +
         "\n" +
         Section("False non-matches, records of one finger",
                 calibration.genuine.Count(),
                 Table(calibration, FalseNonMatches, "erring fingers"));
}

void Draw(const Calibration& calibration, const std::string& picture) {
  const std::string drawing = DrawRates(calibration, FormatOf(picture));
  if (!WriteText(picture, drawing, kOwnersAlone)) {
    throw SystemFailure("draw", picture, "");
  }
  Say("drew " + picture);
}

int RunCalibrate(const Report& report, const Options& options) {
  if (!options.picture.empty()) {
    CheckPictureName(options.picture);
    CheckWritable(options.picture, "name another file with --picture");
  }
  const GalleryFile gallery(options.gallery, GalleryFile::kReads);
  const std::vector<GalleryEntry> entries = gallery.Entries();
  const Calibration calibration = Calibrate(entries);
  if (calibration.strangers.Count() + calibration.genuine.Count() == 0) {
    throw UsageFailure("the gallery " + gallery.Path() +
                           " has nothing to compare: " + Plural(entries.size()),
                       "enrol two people, or one finger twice");
  }
  if (!options.picture.empty()) Draw(calibration, options.picture);
  return report.Result(AsJson(calibration, entries.size()),
                       AsText(calibration));
}

}  // namespace

void AddCalibrate(CommandLine* line, CLI::App* gallery) {
  const auto [arguments, options] = line->Add(kHelp, RunCalibrate, gallery);
  arguments
      .Text("--picture", &options->picture,
            "Draw both rates by score: NAME.svg or NAME.png")
      .Named("FILE");
  AddGalleryOption(arguments, &options->gallery);
}

}  // namespace corvex::mvfp
