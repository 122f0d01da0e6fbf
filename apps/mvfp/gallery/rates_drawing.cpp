// The rates go over decades, so their scale is logarithmic. It ends below the
// smallest rate that can be seen, one error of all trials; a curve ends with
// its last error, and its band goes on, since no error is no proof.
#include "gallery/rates_drawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>
#include <iterator>
#include <vector>

namespace corvex::mvfp {
namespace {

constexpr double kPageWidth = 960;
constexpr double kPageHeight = 640;
constexpr double kLeft = 100;
constexpr double kTop = 110;
constexpr double kWidth = 820;
constexpr double kHeight = 440;
constexpr double kBottom = kTop + kHeight;
constexpr int kScoreStep = 10;
constexpr Font kLevel = {12, kInk, CAIRO_FONT_WEIGHT_BOLD};

// One kind of error: its trials, and which of them err at a threshold.
struct Curve {
  const Scores& scores;
  std::function<uint64_t(int threshold)> errors;
  Colour colour;
  std::string name;
  std::string trials;

  Rate At(int threshold) const {
    return RateOf(errors(threshold), scores.Count());
  }
};

double XOf(int score) { return kLeft + kWidth * score / MV_SCORE_MAX; }

class Scale {
 public:
  explicit Scale(uint64_t most_trials)
      : decades_(std::clamp(static_cast<int>(std::ceil(std::log10(
                                static_cast<double>(most_trials) + 1))),
                            2, 12)) {}

  int Decades() const { return decades_; }

  double YOf(double rate) const {
    const double lowest = -decades_;
    const double log = rate > 0 ? std::log10(rate) : lowest;
    return kTop - kHeight * std::max(log, lowest) / decades_;
  }

 private:
  const int decades_;
};

// A tenth so many times. Not pow, which would ask for glibc 2.29.
double TenthOf(int decade) {
  double rate = 1;
  for (int i = 0; i < decade; ++i) rate /= 10;
  return rate;
}

std::string PercentOf(int decade) {
  std::array<char, 24> text{};
  snprintf(text.data(), text.size(), "%.*f %%", std::max(0, decade - 2),
           100 * TenthOf(decade));
  return text.data();
}

void DrawAxes(Page* page, const Scale& scale) {
  page->Box({kLeft, kTop}, kWidth, kHeight, kPlotPaper);
  for (int decade = 0; decade <= scale.Decades(); ++decade) {
    const double y = scale.YOf(TenthOf(decade));
    page->Line({kLeft, y}, {kLeft + kWidth, y}, kGrid, 1);
    page->Text({kLeft - 40, y}, PercentOf(decade), kScale, /*centred=*/true);
  }
  for (int score = 0; score <= MV_SCORE_MAX; score += kScoreStep) {
    page->Line({XOf(score), kTop}, {XOf(score), kBottom}, kGrid, 1);
    page->Text({XOf(score), kBottom + 18}, std::to_string(score), kScale,
               /*centred=*/true);
  }
  page->Text({kLeft + kWidth / 2, kBottom + 46},
             "threshold: the score that a match must exceed", kEntry,
             /*centred=*/true);
  page->UprightText({24, kTop + kHeight / 2}, "rate of errors", kEntry);
}

void DrawThresholds(Page* page) {
  page->Text({XOf(mv_threshold(MV_LEVEL_LOWEST)) - 46, kTop - 10}, "level",
             kScale);
  for (int level = MV_LEVEL_LOWEST; level <= MV_LEVEL_HIGHEST; ++level) {
    const double x = XOf(mv_threshold(level));
    page->Line({x, kTop}, {x, kBottom}, kFaintInk, 1.2, 0.7);
    page->Text({x, kTop - 14}, std::to_string(level), kLevel,
               /*centred=*/true);
  }
}

void DrawBand(Page* page, const Curve& curve, const Scale& scale) {
  std::vector<Point> around;
  for (int score = 0; score <= MV_SCORE_MAX; ++score) {
    around.push_back({XOf(score), scale.YOf(curve.At(score).high)});
  }
  for (int score = MV_SCORE_MAX; score >= 0; --score) {
    around.push_back({XOf(score), scale.YOf(curve.At(score).low)});
  }
  page->Area(around, curve.colour, 0.16);
}

void DrawCurve(Page* page, const Curve& curve, const Scale& scale) {
  std::vector<Point> points;
  for (int score = 0; score <= MV_SCORE_MAX; ++score) {
    const double rate = curve.At(score).rate;
    if (rate > 0) points.push_back({XOf(score), scale.YOf(rate)});
  }
  page->Path(points, curve.colour, 2.4);
}

void DrawLegend(Page* page, const std::vector<Curve>& curves) {
  double x = kLeft;
  for (const Curve& curve : curves) {
    page->Line({x, 64}, {x + 30, 64}, curve.colour, 2.4);
    page->Text({x + 40, 69},
               curve.name + ", of " + std::to_string(curve.scores.Count()) +
                   " " + curve.trials,
               kEntry);
    x += kWidth / 2;
  }
}

void DrawPage(Page* page, const Calibration& calibration) {
  const std::vector<Curve> all = {
      {calibration.strangers,
       [&](int threshold) { return calibration.strangers.Above(threshold); },
       kOrange, "false matches", "strangers' trials"},
      {calibration.genuine,
       [&](int threshold) { return calibration.genuine.NotAbove(threshold); },
       kBlue, "false non-matches", "genuine trials"}};
  const Scale scale(
      std::max(calibration.strangers.Count(), calibration.genuine.Count()));
  page->Text({kLeft, 36}, "How well this gallery's records are told apart",
             kTitle);
  DrawLegend(page, all);
  DrawAxes(page, scale);
  std::vector<Curve> tried;
  std::copy_if(all.begin(), all.end(), std::back_inserter(tried),
               [](const Curve& curve) { return curve.scores.Count() > 0; });
  for (const Curve& curve : tried) DrawBand(page, curve, scale);
  DrawThresholds(page);
  for (const Curve& curve : tried) DrawCurve(page, curve, scale);
  page->Text(
      {kLeft, kPageHeight - 14},
      "The bands hold the rates with 95 % confidence (Wilson), as if all "
      "trials were independent.",
      kRemark);
}

}  // namespace

std::string DrawRates(const Calibration& calibration, PictureFormat format) {
  return DrawPicture(kPageWidth, kPageHeight, format,
                     [&](Page* page) { DrawPage(page, calibration); });
}

}  // namespace corvex::mvfp
