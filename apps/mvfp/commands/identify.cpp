// identify and verify: whose finger is on the reader?
#include <mv_match.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <vector>

#include "commands/capture.h"
#include "commands/commands.h"
#include "gallery/gallery_file.h"
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
    "verify", "Wait for a press and compare it with one person's fingers",
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
  size_t best = 1;
};

struct FreeGallery {
  void operator()(mv_gallery* gallery) const { mv_gallery_free(gallery); }
};
using Gallery = std::unique_ptr<mv_gallery, FreeGallery>;

Failure SearchFailure(int64_t code) {
  return Failure{mv_error_text(static_cast<int>(code)),
                 "look at the record: mvfp inspect RECORD"};
}

// Ids are texts, those of the search are numbers: the first entry of each.
std::vector<int64_t> NumbersOf(const std::vector<GalleryEntry>& entries) {
  std::vector<int64_t> numbers;
  for (size_t i = 0; i < entries.size(); ++i) {
    const bool same = i > 0 && entries[i].id == entries[i - 1].id;
    numbers.push_back(same ? numbers.back() : static_cast<int64_t>(i));
  }
  return numbers;
}

Gallery Load(const std::vector<GalleryEntry>& entries) {
  Gallery gallery(mv_gallery_new());
  const std::vector<int64_t> numbers = NumbersOf(entries);
  for (size_t i = 0; i < entries.size(); ++i) {
    const std::string& record = entries[i].record;
    const int code =
        gallery == nullptr
            ? int{MV_ERR_MEMORY}
            : mv_gallery_add(gallery.get(), numbers[i], static_cast<int>(i),
                             record.data(), record.size());
    if (code != MV_OK) {
      throw Failure{"record " + std::to_string(entries[i].number) +
                        " of the gallery, " + entries[i].id + ": " +
                        mv_error_text(code),
                    "remove it: mvfp gallery remove " + entries[i].id};
    }
  }
  return gallery;
}

std::vector<mv_hit> Search(const std::vector<GalleryEntry>& entries,
                           const std::string& text, const Options& options) {
  uint8_t probe[MV_RECORD_BYTES];
  const int length =
      mv_record_from_text(text.data(), text.size(), probe, nullptr);
  if (length < 0) throw SearchFailure(length);
  const Gallery gallery = Load(entries);
  mv_search_options wanted = {};
  wanted.level = options.level;
  std::vector<mv_hit> hits(options.best);
  const int64_t found =
      mv_gallery_search(gallery.get(), probe, static_cast<size_t>(length),
                        &wanted, hits.data(), hits.size());
  if (found < 0) throw SearchFailure(found);
  hits.resize(static_cast<size_t>(found));
  return hits;
}

int Identify(const Report& report, const Options& options) {
  const GalleryFile file(options.gallery, GalleryFile::kReads);
  // Before anybody presses a finger.
  const std::vector<GalleryEntry> entries = file.Entries(options.id);
  if (entries.empty()) {
    throw UsageFailure(
        options.id.empty() ? "the gallery " + file.Path() + " is empty"
                           : "nobody in " + file.Path() + " is " + options.id,
        "add somebody: mvfp gallery add RECORD --id ID --finger FINGER");
  }
  const std::string probe = options.record.empty()
                                ? CaptureFeature(options)
                                : LoadRecord(options.record).text;
  Json found = Json::array();
  std::ostringstream text;
  for (const mv_hit& hit : Search(entries, probe, options)) {
    const GalleryEntry& entry = entries[static_cast<size_t>(hit.finger)];
    const int level = mv_level(hit.score);
    found.push_back({{"id", entry.id},
                     {"finger", entry.finger},
                     {"score", hit.score},
                     {"level", level}});
    text << entry.id << '\t' << entry.finger << "\tscore " << hit.score
         << ", level " << level << '\n';
  }
  const bool nobody = found.empty();
  if (nobody) {
    text << "no match: nobody scores more than " << mv_threshold(options.level)
         << ", level " << options.level << '\n';
  }
  return report.Result(
      {{"match", !nobody}, {"hits", found}, {"compared", entries.size()}},
      text.str(), nobody ? kExitNo : kExitOk);
}

void AddOptions(const Command<Options>& command) {
  Options& options = *command.options;
  AddPressOptions(command.app, 20, &options);
  AddGalleryOption(command.app, &options.gallery);
  command.app
      ->add_option("-r,--record", options.record,
                   "This record instead of a press, given as for match")
      ->type_name("RECORD");
  command.app
      ->add_option("-l,--level", options.level, "Security level 1 to 5 [3]")
      ->check(CLI::Range(MV_LEVEL_LOWEST, MV_LEVEL_HIGHEST))
      ->type_name("LEVEL");
}

}  // namespace

void AddIdentifyAndVerify(CommandLine* line) {
  const auto identify = line->Add(kIdentify, Identify);
  AddOptions(identify);
  identify.app
      ->add_option("--best", identify.options->best,
                   "Print the best so many, not only the best [1]")
      ->check(CLI::Range(1, 1000))
      ->type_name("COUNT");
  const auto verify = line->Add(kVerify, Identify);
  AddOptions(verify);
  verify.app
      ->add_option("--id", verify.options->id, "Whose finger it should be")
      ->required();
}

}  // namespace corvex::mvfp
