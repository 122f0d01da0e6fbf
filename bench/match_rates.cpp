// How often the matcher errs at each security level, on fingers of your own:
//
//   match_rates FILE     prints two tables in Markdown
//
// A line of FILE is one impression, as mvfp-vreader --records takes it with
// columns: database, finger, impression and record between tabs, the record in
// hexadecimal or Base64. docs/security-levels.md says what is counted.
#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "MvMatch/MvMatch.h"
#include "MvSynth/MvSynth.h"
#include "mv_base/base64.h"
#include "mv_base/hex.h"
#include "mv_fpi/thresholds.h"

namespace {

constexpr int kLevels = 5;
constexpr size_t kPresses = 3;
constexpr int kResamples = 5000;

// Tables have a row for each level that decides, from 1.
int ThresholdOf(size_t row) { return corvex::kMatchThresholds[row + 1]; }

using Slot = std::array<uint8_t, corvex::kCaptureSlotBytes>;

struct Finger {
  std::string database;
  std::vector<Slot> impressions;
};
using Fingers = std::vector<Finger>;

bool ReadRecord(const std::string& text, Slot* slot) {
  const auto length = static_cast<int32_t>(text.size());
  if (length < 5 || text.size() > 2 * 253) return false;
  if (text[0] == 'E') {
    CodeB64(kDecode, slot->data(), text.c_str(), length);
  } else {
    Hex2Bin(slot->data(), text.c_str(), length);
  }
  return GetMivoMinutLen(slot->data()) > 0;
}

// Fingers in the order in which they appear; empty when a line is wrong.
Fingers ReadFingers(const char* path) {
  Fingers fingers;
  std::map<std::string, size_t> places;
  std::ifstream file(path);
  int number = 0;
  for (std::string line; std::getline(file, line);) {
    ++number;
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string database, finger, impression, record;
    fields >> database >> finger >> impression >> record;
    Slot slot = {};
    if (!ReadRecord(record, &slot)) {
      std::fprintf(stderr, "match_rates: line %d: no valid record\n", number);
      return {};
    }
    const auto place = places.emplace(database + '/' + finger, fingers.size());
    if (place.second) fingers.push_back({database, {}});
    fingers[place.first->second].impressions.push_back(slot);
  }
  return fingers;
}

// Comparisons of one finger with one other, or with itself, and how many of
// them each level accepts.
struct Tally {
  double comparisons = 0;
  std::array<double, kLevels> accepted = {};

  void Add(int score) {
    ++comparisons;
    for (size_t i = 0; i < kLevels; ++i) {
      accepted[i] += score > ThresholdOf(i) ? 1 : 0;
    }
  }
  void Add(const Tally& other, double weight) {
    comparisons += weight * other.comparisons;
    for (size_t i = 0; i < kLevels; ++i) {
      accepted[i] += weight * other.accepted[i];
    }
  }
};
using Tallies = std::vector<std::vector<Tally>>;  // [first finger][second]

class Comparisons {
 public:
  explicit Comparisons(const Fingers& fingers)
      : captures_(fingers.size(), std::vector<Tally>(fingers.size())),
        templates_(captures_) {
    for (size_t a = 0; a < fingers.size(); ++a) {
      CompareCaptures(fingers, a);
      CompareTemplates(fingers, a);
    }
  }
  const Tallies& Captures() const { return captures_; }
  const Tallies& Templates() const { return templates_; }
  int Enrolments() const { return enrolments_; }
  int Refused() const { return refused_; }

 private:
  // Another database is another sensor; its fingers are too easy to tell.
  template <typename Visit>
  static void VisitOthers(const Fingers& fingers, size_t a, Visit visit) {
    for (size_t b = 0; b < fingers.size(); ++b) {
      if (fingers[a].database != fingers[b].database) continue;
      for (size_t i = 0; i < fingers[b].impressions.size(); ++i) visit(b, i);
    }
  }

  void CompareCaptures(const Fingers& fingers, size_t a) {
    for (size_t i = 0; i < fingers[a].impressions.size(); ++i) {
      const Slot& first = fingers[a].impressions[i];
      VisitOthers(fingers, a, [&](size_t b, size_t j) {
        if (a == b && i == j) return;
        const Slot& second = fingers[b].impressions[j];
        captures_[a][b].Add(MivoMatchFinger(first.data(), second.data()));
      });
    }
  }

  void CompareTemplates(const Fingers& fingers, size_t a) {
    const size_t count = fingers[a].impressions.size();
    for (size_t i = 0; i < count; ++i) {
      for (size_t j = i + 1; j < count; ++j) {
        for (size_t k = j + 1; k < count; ++k) {
          CompareTemplate(fingers, a, {i, j, k});
        }
      }
    }
  }

  void CompareTemplate(const Fingers& fingers, size_t a,
                       const std::array<size_t, kPresses>& presses) {
    std::array<Slot, kPresses> captures;
    for (size_t i = 0; i < kPresses; ++i) {
      captures[i] = fingers[a].impressions[presses[i]];
    }
    Slot tmpl = {};
    ++enrolments_;
    if (MivoSynthMinut(captures[0].data(), kPresses, tmpl.data(), nullptr,
                       nullptr) <= corvex::kSynthesisThreshold) {
      ++refused_;
      return;
    }
    VisitOthers(fingers, a, [&](size_t b, size_t j) {
      const bool enrolled =
          std::find(presses.begin(), presses.end(), j) != presses.end();
      if (a == b && enrolled) return;
      const Slot& second = fingers[b].impressions[j];
      templates_[a][b].Add(MivoMatchFinger(tmpl.data(), second.data()));
    });
  }

  Tallies captures_;
  Tallies templates_;
  int enrolments_ = 0;
  int refused_ = 0;
};

// What each level accepts of its own finger's comparisons and of strangers'.
struct Result {
  Tally genuine;
  Tally impostor;

  // A draw may hold no pair of different fingers.
  static double Share(double part, const Tally& of) {
    return of.comparisons > 0 ? part / of.comparisons : 0;
  }
  double Fnmr(size_t level) const {
    return Share(genuine.comparisons - genuine.accepted[level], genuine);
  }
  double Fmr(size_t level) const {
    return Share(impostor.accepted[level], impostor);
  }
};

Result Sum(const Tallies& tallies, const std::vector<int>& weights) {
  Result sum;
  for (size_t a = 0; a < weights.size(); ++a) {
    if (weights[a] == 0) continue;
    sum.genuine.Add(tallies[a][a], weights[a]);
    for (size_t b = 0; b < weights.size(); ++b) {
      if (a != b) sum.impostor.Add(tallies[a][b], weights[a] * weights[b]);
    }
  }
  return sum;
}

// How often each finger is drawn when as many as there are are drawn with
// repetition, each database for itself.
std::vector<int> DrawFingers(const Fingers& fingers, std::mt19937* random) {
  std::map<std::string, std::vector<size_t>> databases;
  for (size_t i = 0; i < fingers.size(); ++i) {
    databases[fingers[i].database].push_back(i);
  }
  std::vector<int> weights(fingers.size());
  for (const auto& [name, members] : databases) {
    for (size_t i = 0; i < members.size(); ++i) {
      ++weights[members[(*random)() % members.size()]];
    }
  }
  return weights;
}

struct Bounds {
  double low, high;
};

// Of a rate that was observed as zero, three trials in as many as there were
// independent ones is the bound.
Bounds MiddleOf(std::vector<double> rates, double rate, double trials) {
  if (rate <= 0) return {0, 3 / trials};
  std::sort(rates.begin(), rates.end());
  return {rates[rates.size() / 40],
          rates[rates.size() - 1 - rates.size() / 40]};
}

// Pairs of different fingers that are `such` in either order.
template <typename Such>
int CountPairs(const Tallies& tallies, Such such) {
  int count = 0;
  for (size_t a = 0; a < tallies.size(); ++a) {
    for (size_t b = 0; b < a; ++b) {
      count += such(tallies[a][b]) || such(tallies[b][a]) ? 1 : 0;
    }
  }
  return count;
}

class Table {
 public:
  Table(const Fingers& fingers, const Tallies& tallies)
      : tallies_(tallies),
        finger_count_(static_cast<double>(fingers.size())),
        all_(Sum(tallies, std::vector<int>(fingers.size(), 1))) {
    std::mt19937 random(1);
    for (int i = 0; i < kResamples; ++i) {
      resamples_.push_back(Sum(tallies, DrawFingers(fingers, &random)));
    }
  }

  void Print() const {
    std::printf("\n%.0f genuine and %.0f impostor comparisons.\n\n",
                all_.genuine.comparisons, all_.impostor.comparisons);
    std::puts(
        "| level | score above | FMR | 95 % | pairs that erred | FNMR | 95 % "
        "|");
    std::puts("|---|---|---|---|---|---|---|");
    for (size_t level = 0; level < kLevels; ++level) PrintLevel(level);
  }

 private:
  void PrintLevel(size_t level) const {
    std::vector<double> fmr, fnmr;
    for (const Result& resample : resamples_) {
      fmr.push_back(resample.Fmr(level));
      fnmr.push_back(resample.Fnmr(level));
    }
    const int pairs = CountPairs(
        tallies_, [](const Tally& tally) { return tally.comparisons > 0; });
    const int erred = CountPairs(tallies_, [level](const Tally& tally) {
      return tally.accepted[level] > 0;
    });
    const Bounds f = MiddleOf(fmr, all_.Fmr(level), pairs);
    const Bounds n = MiddleOf(fnmr, all_.Fnmr(level), finger_count_);
    std::printf(
        "| %zu | %d | %.3f %% | %.3f to %.3f | %d of %d "
        "| %.1f %% | %.1f to %.1f |\n",
        level + 1, ThresholdOf(level), 100 * all_.Fmr(level), 100 * f.low,
        100 * f.high, erred, pairs, 100 * all_.Fnmr(level), 100 * n.low,
        100 * n.high);
  }

  const Tallies& tallies_;
  const double finger_count_;
  const Result all_;
  std::vector<Result> resamples_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: match_rates FILE\n", stderr);
    return 2;
  }
  const Fingers fingers = ReadFingers(argv[1]);
  if (fingers.size() < 2) {
    std::fputs("match_rates: fewer than two fingers\n", stderr);
    return 2;
  }
  const Comparisons comparisons(fingers);
  std::printf("%zu fingers.\n\nCapture against capture:", fingers.size());
  Table(fingers, comparisons.Captures()).Print();
  std::printf("\nTemplate against capture, %d of %d enrolments refused:",
              comparisons.Refused(), comparisons.Enrolments());
  Table(fingers, comparisons.Templates()).Print();
  return 0;
}
