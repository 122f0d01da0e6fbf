// enroll: a template of three presses, and on request what it is worth, a
// receipt, and a place in the gallery.
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "calls/driver.h"
#include "calls/result_codes.h"
#include "commands/capture.h"
#include "commands/commands.h"
#include "commands/gallery.h"
#include "enrolment/presses.h"
#include "enrolment/receipt.h"
#include "files.h"
#include "gallery/searchable.h"
#include "mv_fpi/thresholds.h"
#include "records/record_bytes.h"

namespace corvex::mvfp {
namespace {

constexpr Help kEnroll = {
    "enroll", "Wait for three presses and print their template",
    R"(Press the same finger three times and lift it between; the reader beeps for
each press it took. On a terminal the seconds left are shown, and while the
day's log is on (mvfp log on) also which press is due: nothing else tells.
With --guided a window on the screen names the press that is due, and closing
it gives the enrolment up; where no window can be shown, the enrolment goes on
without one. The template is one line of Base64.

With --id and --finger the template goes into the gallery (mvfp gallery), unless
that finger is there under another id: at level 5, since a stranger's likeness
must not turn people away. With --check one more press is compared with the
template; when it does not pass level 3 nothing is kept, and the exit code is 1.
--receipt writes a JSON object about all this with no value of the print.

With any of these, and without --guided, the tool takes the three presses one by
one: it names the press that is due, waits a little for the finger to be lifted,
and warns of presses that are nearly one placement. One call of the driver, as
without them, tells nothing of its presses.

Examples:
  mvfp enroll --port ttyUSB0 -o anna.template
  mvfp enroll --port ttyUSB0 -o anna.template --guided
  mvfp enroll --port ttyUSB0 --check --id T1007 --finger right-index
  mvfp enroll --port ttyUSB0 --check --receipt anna.json -o anna.template
)"};

constexpr int kLevelOfCheck = 3;
constexpr int kLevelOfTwins = 5;

struct Options : PressOptions {
  std::string output;
  bool guided = false;
  std::string gallery;
  std::string id;  // none: not into the gallery
  std::string finger;
  bool allow_duplicate = false;
  bool check = false;
  std::string receipt;
};

bool TakesPressesItself(const Options& options) {
  const bool asked =
      options.check || !options.id.empty() || !options.receipt.empty();
  return asked && !options.guided;
}

// What can be refused is refused before anybody presses a finger. Returns whom
// the gallery knows already, where that matters.
std::optional<Searchable> Prepare(const Options& options) {
  CheckOutput(options.output);
  if (!options.receipt.empty()) {
    CheckWritable(options.receipt, "name another file with --receipt");
  }
  if (options.id.empty()) return std::nullopt;
  const GalleryFile gallery(options.gallery, GalleryFile::kWrites);
  if (options.allow_duplicate) return std::nullopt;
  return Searchable(gallery);
}

std::string Number(size_t press) { return std::to_string(press + 1); }

std::string InPlace(int percent) {
  return " nearly one placement: " + std::to_string(percent) +
         " % of the minutiae lie where they lay";
}

void WarnOfOnePlacement(Enrolment* enrolment) {
  std::vector<std::string> warnings;
  for (const PressPair& pair : enrolment->presses->pairs) {
    const std::string both =
        "presses " + Number(pair.first) + " and " + Number(pair.second);
    const bool in_turn = pair.second == pair.first + 1;
    if (in_turn && !enrolment->presses->all[pair.second].lifted) {
      warnings.push_back("the finger was not lifted between " + both);
    } else if (pair.in_place_percent >= kOnePlacementPercent) {
      warnings.push_back(both + " are" + InPlace(pair.in_place_percent));
    }
  }
  if (warnings.empty()) return;
  for (const std::string& warning : warnings) Say("warning: " + warning);
  Say("such presses agree whatever they are worth; lift the finger each time, "
      "and see with --check whether it is found again");
  enrolment->warnings = std::move(warnings);
}

void WarnOfCheckInPlace(Enrolment* enrolment) {
  const Press& press = enrolment->check->press;
  std::string problem;
  const std::string made = RecordOf(enrolment->text, &problem);
  const bool can_tell = !made.empty() && !press.record.empty();
  const int percent = can_tell ? InPlacePercent(made, press.record) : 0;
  std::string warning;
  if (!press.lifted) {
    warning = "the finger was not lifted before the check";
  } else if (percent >= kOnePlacementPercent) {
    warning = "the check and the template are" + InPlace(percent);
  }
  if (warning.empty()) return;
  Say("warning: " + warning);
  Say("such a check says nothing of the next day; check again later: mvfp "
      "verify");
  enrolment->warnings.push_back(warning);
}

// The score and the decisions are those that a host would get.
HeldOut CompareOneMore(const std::string& text, PressTaker* taker) {
  HeldOut check{taker->Take(), 0, 0};
  const auto match = MVFP_DRIVER_CALL(FG_FpMatch);
  const char* const press = check.press.text.c_str();
  check.score = match.run(text.c_str(), press, FG_LEVEL_SCORE);
  if (check.score < 0) {
    throw CallFailure(match.name, Reply{check.score, true, 0, "", ""});
  }
  for (int level = FG_LEVEL_LOWEST; level <= FG_LEVEL_HIGHEST; ++level) {
    if (match.run(text.c_str(), press, level) == FG_OK) check.level = level;
  }
  return check;
}

std::string InWords(const HeldOut& check) {
  return "check: score " + std::to_string(check.score) + ", passes " +
         (check.level == 0 ? "no level"
                           : "level " + std::to_string(check.level));
}

Failure Disagreement(const Presses& presses) {
  return {"the three presses do not agree: the lowest score of two is " +
              std::to_string(presses.lowest_score) + ", and more than " +
              std::to_string(kSynthesisThreshold) + " is wanted",
          "nothing was kept; press the same finger each time, flat and firmly"};
}

Failure BadCheck(const HeldOut& check) {
  return {
      InWords(check) + "; level 3 is wanted, so nothing was kept",
      "enrol again: press flatter, lift the finger between presses, or take "
      "another finger",
      kExitNo, Details({{"score", check.score}, {"level", check.level}})};
}

Failure EnrolledAlready(const Hit& twin) {
  return {"this finger is enrolled already, as " + twin.id + ", " +
              twin.finger + ": score " + std::to_string(twin.score) +
              ", level " + std::to_string(twin.level),
          "nothing was kept; if it is another person's after all, enrol again "
          "with --allow-duplicate",
          kExitNo, Details(FieldsOf(twin))};
}

// The best hit of another id than the one that is enrolled.
std::optional<Hit> TwinIn(const Searchable& known, const std::string& text,
                          const std::string& id) {
  if (known.Count() == 0) return std::nullopt;
  for (const Hit& hit : known.Search(text, kLevelOfTwins, 2)) {
    if (hit.id != id) return hit;
  }
  return std::nullopt;
}

// Why the template must not be kept; asks for the press that the check takes.
std::optional<Failure> Judge(const Options& options,
                             const std::optional<Searchable>& known,
                             PressTaker* taker, Enrolment* enrolment) {
  if (enrolment->presses) {
    WarnOfOnePlacement(enrolment);
    if (!enrolment->presses->Agree()) {
      enrolment->outcome = "the presses do not agree";
      return Disagreement(*enrolment->presses);
    }
  }
  if (options.check) {
    enrolment->check = CompareOneMore(enrolment->text, taker);
    WarnOfCheckInPlace(enrolment);
    if (enrolment->check->level < kLevelOfCheck) {
      enrolment->outcome = "the check failed";
      return BadCheck(*enrolment->check);
    }
    Say(InWords(*enrolment->check));
  }
  if (known) enrolment->twin = TwinIn(*known, enrolment->text, options.id);
  if (enrolment->twin) {
    enrolment->outcome = "enrolled already";
    return EnrolledAlready(*enrolment->twin);
  }
  enrolment->outcome = "kept";
  return std::nullopt;
}

void Store(const Options& options, Enrolment* enrolment) {
  std::string problem;
  const std::string record = RecordOf(enrolment->text, &problem);
  if (!problem.empty()) {
    throw Failure{"the gallery cannot keep this template: " + problem, ""};
  }
  GalleryFile gallery(options.gallery, GalleryFile::kWrites);
  gallery.Add({{0, options.id, options.finger, record, ""}});
  enrolment->stored = Stored{options.id, options.finger, gallery.Path()};
}

void WriteReceipt(const Options& options, const Enrolment& enrolment,
                  const Json& reader) {
  const std::string text =
      ReceiptOf(enrolment, reader)
          .dump(2, ' ', false, Json::error_handler_t::replace);
  if (!WriteText(options.receipt, text + "\n", kOwnersAlone)) {
    throw SystemFailure("write", options.receipt, "");
  }
  Say("wrote " + options.receipt);
}

// The template itself is printed where nothing else keeps it.
int Deliver(const Report& report, const Options& options,
            const Enrolment& enrolment) {
  Json fields = Json::object();
  std::string text;
  if (!options.id.empty()) {
    fields = StoredOf(enrolment);
    text = "added " + options.id + ", " + options.finger + "\n";
  } else {
    fields["template"] = enrolment.text;
    if (options.output.empty()) text = enrolment.text + "\n";
  }
  if (!options.output.empty()) fields["file"] = options.output;
  if (enrolment.check) {
    fields["check"] = {{"score", enrolment.check->score},
                       {"level", enrolment.check->level}};
  }
  return report.Result(fields, text);
}

int Enroll(const Report& report, const Options& options) {
  const std::optional<Searchable> known = Prepare(options);
  const Json reader =
      options.receipt.empty() ? Json(nullptr) : AskReader(options);
  PressTaker taker(options, options.check ? 4 : 3);
  Enrolment enrolment;
  if (TakesPressesItself(options)) {
    enrolment.presses = TakeThree(&taker);
    enrolment.text = enrolment.presses->all[enrolment.presses->chosen].text;
  } else {
    enrolment.text = CaptureTemplate(options, options.guided);
    taker.CountAsTaken(3);
    // The window cannot know.
    if (options.guided) Say("the three presses agree; the template is made");
  }
  const std::optional<Failure> refusal =
      Judge(options, known, &taker, &enrolment);
  if (!refusal) {
    if (!options.output.empty()) WriteOutput(options.output, enrolment.text);
    if (!options.id.empty()) Store(options, &enrolment);
  }
  if (!options.receipt.empty()) WriteReceipt(options, enrolment, reader);
  if (refusal) throw Failure(*refusal);
  return Deliver(report, options, enrolment);
}

}  // namespace

void AddEnroll(CommandLine* line) {
  const auto [arguments, options] = line->Add(kEnroll, Enroll);
  AddPressOptions(arguments, 60, options);
  AddOutputOption(arguments, &options->output);
  arguments.Flag("--guided", &options->guided,
                 "Guide the user with the prompt window");
  arguments.Flag("--check", &options->check,
                 "Ask for one more press and see whether it is found");
  arguments
      .Text("--receipt", &options->receipt,
            "Write an account without any value of the print")
      .Named("FILE");
  const Argument id =
      arguments.Text("--id", &options->id, "Keep it in the gallery: whose")
          .Checked(ProblemOfName);
  const Argument finger =
      arguments.Text("--finger", &options->finger, "Which finger")
          .Checked(ProblemOfName)
          .Needs(id);
  id.Needs(finger);
  AddGalleryOption(arguments, &options->gallery).Needs(id);
  arguments
      .Flag("--allow-duplicate", &options->allow_duplicate,
            "Keep it though it is there under another id")
      .Needs(id);
}

}  // namespace corvex::mvfp
