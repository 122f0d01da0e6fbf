// gallery: whose records this site knows. Touches no reader.
#include "commands/gallery.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <sstream>

#include "commands/commands.h"
#include "files.h"
#include "gallery/gallery_file.h"
#include "long_work.h"
#include "records/digest.h"
#include "records/record.h"
#include "records/record_bytes.h"

namespace corvex::mvfp {
namespace {

constexpr Help kGallery = {
    "gallery", "Keep the records of this site's people",
    R"(The gallery is an SQLite file: --gallery FILE, or MVFP_GALLERY, or a file in
your data directory. Only its owner may read it. mvfp identify searches it.

Examples:
  mvfp gallery add anna.template --id T1007 --finger right-index
  mvfp gallery list
  mvfp gallery show T1007
  mvfp gallery calibrate --picture rates.svg
  mvfp gallery export >people.tsv
)"};
constexpr Help kAdd = {"add", "Add a record",
                       R"(A record is given as for match.

Examples:
  mvfp gallery add anna.template --id T1007 --finger right-index
  mvfp enroll | mvfp gallery add - --id T1007 --finger left-thumb
)"};
constexpr Help kList = {"list", "Print who is in it, and which fingers",
                        R"(Examples:
  mvfp gallery list
  mvfp gallery list --id T1007 --json
)"};
constexpr Help kShow = {
    "show", "Print what is known of a person's records",
    R"(Each record's finger, minutiae, time of enrolment and SHA-256, which a receipt
of mvfp enroll has too. Nothing of the print itself is shown.

Examples:
  mvfp gallery show T1007
  mvfp gallery show T1007 --json
)"};
constexpr Help kRemove = {"remove", "Remove a person, or one finger",
                          R"(Examples:
  mvfp gallery remove T1007
  mvfp gallery remove T1007 --finger left-thumb
)"};
constexpr Help kExport = {
    "export", "Print all of it, a line a record",
    R"(A line is the id, the finger and the record in Base64, with tabs between them.

Example:
  mvfp gallery export >people.tsv
)"};
constexpr Help kImport = {
    "import", "Add the records of a file, all or none",
    R"(Takes what export prints; - is standard input. A bad line is named with its
number, and nothing is added then.

Example:
  mvfp gallery import people.tsv
)"};

struct Options {
  std::string gallery;
  std::string id;
  std::string finger;
  std::string file;  // or record
};

int Add(const Report& report, const Options& options) {
  const Record loaded = LoadWholeRecord(options.file);
  std::string problem;
  const std::string record = RecordOf(loaded.text, &problem);
  if (!problem.empty()) {
    throw UsageFailure(loaded.source + ": " + problem,
                       "look at it: mvfp inspect RECORD");
  }
  GalleryFile gallery(options.gallery, GalleryFile::kWrites);
  gallery.Add({{0, options.id, options.finger, record, ""}});
  return report.Result({{"id", options.id},
                        {"finger", options.finger},
                        {"gallery", gallery.Path()}},
                       "added " + options.id + ", " + options.finger + "\n");
}

int List(const Report& report, const Options& options) {
  const GalleryFile gallery(options.gallery, GalleryFile::kReads);
  Json records = Json::array();
  std::ostringstream text;
  for (const GalleryEntry& entry : gallery.Entries(options.id)) {
    const int minutiae = CountMinutiae(entry.record);
    records.push_back({{"id", entry.id},
                       {"finger", entry.finger},
                       {"minutiae", minutiae},
                       {"added", entry.added}});
    text << entry.id << '\t' << entry.finger << '\t' << minutiae
         << " minutiae\t" << entry.added << '\n';
  }
  return report.Result({{"records", records}}, text.str(),
                       records.empty() ? kExitNo : kExitOk);
}

int Show(const Report& report, const Options& options) {
  const GalleryFile gallery(options.gallery, GalleryFile::kReads);
  Json records = Json::array();
  std::ostringstream text;
  for (const GalleryEntry& entry : gallery.Entries(options.id)) {
    const int minutiae = CountMinutiae(entry.record);
    const std::string digest = Sha256(entry.record);
    records.push_back({{"number", entry.number},
                       {"finger", entry.finger},
                       {"minutiae", minutiae},
                       {"bytes", entry.record.size()},
                       {"added", entry.added},
                       {"sha256", digest}});
    text << entry.finger << "\n  number    " << entry.number << "\n  minutiae  "
         << minutiae << ", " << entry.record.size() << " bytes\n  added     "
         << entry.added << " UTC\n  SHA-256   " << digest << '\n';
  }
  if (records.empty()) {
    throw Failure{"nobody in " + gallery.Path() + " is " + options.id,
                  "see who is there: mvfp gallery list", kExitNo};
  }
  return report.Result({{"id", options.id}, {"records", records}}, text.str());
}

int Remove(const Report& report, const Options& options) {
  // Which takes a change, but makes no file.
  GalleryFile gallery(options.gallery, GalleryFile::kReads);
  const int removed = gallery.Remove(options.id, options.finger);
  return report.Result({{"removed", removed}},
                       "removed " + Plural(static_cast<size_t>(removed)) + "\n",
                       removed == 0 ? kExitNo : kExitOk);
}

int Export(const Report& report, const Options& options) {
  const GalleryFile gallery(options.gallery, GalleryFile::kReads);
  Json records = Json::array();
  std::string text;
  for (const GalleryEntry& entry : gallery.Entries()) {
    const std::string record = TextOf(entry.record);
    records.push_back(
        {{"id", entry.id}, {"finger", entry.finger}, {"record", record}});
    text += entry.id + '\t' + entry.finger + '\t' + record + '\n';
  }
  return report.Result({{"records", records}}, text);
}

GalleryEntry ParseLine(const std::string& line, std::string* problem) {
  const size_t first = line.find('\t');
  const size_t second =
      first == std::string::npos ? first : line.find('\t', first + 1);
  if (second == std::string::npos) {
    *problem = "is not an id, a finger and a record with tabs between them";
    return {};
  }
  GalleryEntry entry;
  entry.id = line.substr(0, first);
  entry.finger = line.substr(first + 1, second - first - 1);
  for (const std::string& name : {entry.id, entry.finger}) {
    *problem = ProblemOfName(name);
    if (!problem->empty()) {
      *problem = "its id or finger " + *problem;
      return {};
    }
  }
  entry.record = RecordOf(line.substr(second + 1), problem);
  return entry;
}

// The lines of a file, or of standard input, one after the other. C's stream,
// not C++'s: Ctrl-C ends its wait.
class Lines {
 public:
  explicit Lines(const std::string& path)
      : path_(path), file_(path == "-" ? stdin : fopen(path.c_str(), "re")) {
    if (file_ == nullptr) Refuse();
  }
  ~Lines() {
    if (file_ != stdin) fclose(file_);
  }
  Lines(const Lines&) = delete;
  Lines& operator=(const Lines&) = delete;

  // Without its end. False after the last one.
  bool Next(std::string* line) {
    if (fgets(buffer_.data(), kLongest, file_) == nullptr) {
      if (ferror(file_) != 0 && errno != EINTR) Refuse();
      return false;
    }
    *line = buffer_.data();
    const bool ends = !line->empty() && line->back() == '\n';
    is_whole_ = ends || feof(file_) != 0;
    if (ends) line->pop_back();
    return true;
  }

  // Not one that never ends, nor bytes that are no text.
  bool IsWhole() const { return is_whole_; }

 private:
  [[noreturn]] void Refuse() const {
    throw SystemFailure("read", path_, "name another file", kExitUsage);
  }

  static constexpr int kLongest = 65536;

  const std::string path_;
  FILE* const file_;
  std::array<char, kLongest> buffer_;
  bool is_whole_ = true;
};

std::vector<GalleryEntry> ReadEntries(const std::string& path) {
  LongWork work("reading lines:");
  Lines lines(path);
  std::vector<GalleryEntry> entries;
  for (std::string line; lines.Next(&line); work.Done(entries.size())) {
    std::string problem = "is no line of text, or too long";
    entries.emplace_back();
    if (lines.IsWhole()) entries.back() = ParseLine(line, &problem);
    if (!problem.empty()) {
      throw UsageFailure(
          "line " + std::to_string(entries.size()) + ": " + problem,
          "nothing was added; mend the line");
    }
  }
  work.Done(entries.size());  // where the wait for a line was ended
  return entries;
}

int Import(const Report& report, const Options& options) {
  const std::vector<GalleryEntry> entries = ReadEntries(options.file);
  GalleryFile gallery(options.gallery, GalleryFile::kWrites);
  gallery.Add(entries);
  return report.Result({{"added", entries.size()}},
                       "added " + Plural(entries.size()) + "\n");
}

// As JSON has it, which would not say such a text as it is.
bool IsUtf8(const std::string& text) {
  try {
    Json(text).dump();
    return true;
  } catch (const Json::exception&) {
    return false;
  }
}

}  // namespace

// Ids and fingers are printed with tabs between them, a line each, or in JSON.
std::string ProblemOfName(const std::string& name) {
  if (name.empty()) return "is empty";
  if (!IsUtf8(name)) return "is not UTF-8";
  const auto steers = [](unsigned char c) { return c < ' ' || c == 0x7F; };
  return std::any_of(name.begin(), name.end(), steers)
             ? "has a tab, a line's end or another control character"
             : "";
}

std::string Plural(size_t count) {
  return std::to_string(count) + (count == 1 ? " record" : " records");
}

void AddGallery(CommandLine* line) {
  CLI::App* const group = line->AddGroup(kGallery);
  const auto add = line->Add(kAdd, Add, group);
  add.arguments.Text("RECORD", &add.options->file, "The record").Required();
  add.arguments.Text("--id", &add.options->id, "Whose it is")
      .Required()
      .Checked(ProblemOfName);
  add.arguments.Text("--finger", &add.options->finger, "Which finger")
      .Required()
      .Checked(ProblemOfName);
  const auto list = line->Add(kList, List, group);
  list.arguments.Text("--id", &list.options->id, "Only this person's");
  const auto show = line->Add(kShow, Show, group);
  show.arguments.Text("ID", &show.options->id, "Who").Required();
  const auto remove = line->Add(kRemove, Remove, group);
  remove.arguments.Text("ID", &remove.options->id, "Who").Required();
  remove.arguments.Text("--finger", &remove.options->finger,
                        "Only this finger");
  const auto exporting = line->Add(kExport, Export, group);
  const auto import = line->Add(kImport, Import, group);
  import.arguments.Text("FILE", &import.options->file, "What export printed")
      .Required();
  for (const auto& command : {add, list, show, remove, exporting, import}) {
    AddGalleryOption(command.arguments, &command.options->gallery);
  }
  AddCalibrate(line, group);
}

}  // namespace corvex::mvfp
