// identify and verify: whose finger is on the reader?
#include <mv_match.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "commands/capture.h"
#include "commands/commands.h"
#include "gallery/searchable.h"
#include "records/record.h"

namespace corvex::mvfp {
namespace {

constexpr Help kIdentify = {
    "identify", "Wait for a press and tell whose finger it is",
    R"(Searches the gallery (mvfp gallery) with every processor and prints the id, the
finger, the score and the highest level that it passes; exit 0, or 1 when nobody
passes the level. With --record no reader is asked.

Examples:
  mvfp identify --port ttyUSB0
  mvfp identify --port ttyUSB0 --best 5 --level 4
  mvfp identify --record door.feature --json
)"};
constexpr Help kVerify = {
    "verify", "Compare a press with one person's fingers",
    R"(Prints what identify prints; exit 0, or 1 when it is another finger.

Examples:
  mvfp verify --id T1007 --port ttyUSB0
  mvfp verify --id T1007 --record door.feature
)"};

struct Options : PressOptions {
  std::string gallery;
  std::string id;  // verify: whose
  std::string record;
  int level = 3;
  int best = 1;
};

int Identify(const Report& report, const Options& options) {
  const GalleryFile file(options.gallery, GalleryFile::kReads);
  // Before anybody presses a finger.
  const Searchable gallery(file, options.id);
  if (gallery.Count() == 0) {
    throw UsageFailure(
        options.id.empty() ? "the gallery " + file.Path() + " is empty"
                           : "nobody in " + file.Path() + " is " + options.id,
        "add somebody: mvfp gallery add RECORD --id ID --finger FINGER");
  }
  const std::string probe = options.record.empty()
                                ? CaptureFeature(options)
                                : LoadWholeRecord(options.record).text;
  Json found = Json::array();
  std::ostringstream text;
  const auto best = static_cast<size_t>(options.best);
  for (const Hit& hit : gallery.Search(probe, options.level, best)) {
    found.push_back(FieldsOf(hit));
    text << hit.id << '\t' << hit.finger << "\tscore " << hit.score
         << ", level " << hit.level << '\n';
  }
  const bool nobody = found.empty();
  if (nobody) {
    text << "no match: nobody scores more than " << mv_threshold(options.level)
         << ", level " << options.level << '\n';
  }
  return report.Result(
      {{"match", !nobody}, {"hits", found}, {"compared", gallery.Count()}},
      text.str(), nobody ? kExitNo : kExitOk);
}

void AddOptions(const Arguments& arguments, Options* options) {
  AddPressOptions(arguments, 20, options);
  AddGalleryOption(arguments, &options->gallery);
  arguments
      .Text("-r,--record", &options->record,
            "This record instead of a press, given as for match")
      .Named("RECORD");
  arguments
      .Number("-l,--level", &options->level, MV_LEVEL_LOWEST, MV_LEVEL_HIGHEST,
              "Security level 1 to 5 [3]")
      .Named("LEVEL");
}

}  // namespace

void AddIdentifyAndVerify(CommandLine* line) {
  const auto identify = line->Add(kIdentify, Identify);
  AddOptions(identify.arguments, identify.options);
  identify.arguments
      .Number("--best", &identify.options->best, 1, 1000,
              "Print the best so many, not only the best [1]")
      .Named("COUNT");
  const auto verify = line->Add(kVerify, Identify);
  AddOptions(verify.arguments, verify.options);
  verify.arguments
      .Text("--id", &verify.options->id, "Whose finger it should be")
      .Required();
}

}  // namespace corvex::mvfp
