// The plot of 256 by 256 units stands on the left of the page, the legend
// right.
#include "records/drawing.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace corvex::mvfp {
namespace {

constexpr double kPageWidth = 1060;
constexpr double kPageHeight = 860;
constexpr double kPlotLeft = 60;
constexpr double kPlotTop = 76;
constexpr double kUnit = 2.9;  // points a record unit
constexpr int kUnits = 256;
constexpr double kPlotSize = kUnit * kUnits;
constexpr int kGridStep = 32;
constexpr double kLegendLeft = kPlotLeft + kPlotSize + 36;
constexpr double kPi = 3.14159265358979323846;

constexpr Colour kKindColours[] = {kBlue, kOrange};
constexpr Font kNumber = {10.5, kInk};

Point OnPlot(const Minutia& minutia) {
  return {kPlotLeft + (minutia.x + 0.5) * kUnit,
          kPlotTop + (minutia.y + 0.5) * kUnit};
}

// The page's y grows downwards, the direction is seen with y upwards.
Point Along(const Point& from, int direction, double distance) {
  const double angle = direction * kPi / 180;
  return {from.x + distance * std::cos(angle),
          from.y - distance * std::sin(angle)};
}

double RadiusFor(int weight) { return 3.2 + 5.3 * weight / kMaxWeight; }
double OpacityFor(int weight) { return 0.35 + 0.65 * weight / kMaxWeight; }

// A round dot is kind 1, a square is kind 2; heavier is larger and darker.
void DrawMarker(Page* page, const Point& at, int kind, int weight) {
  const double radius = RadiusFor(weight);
  if (kind == 1) {
    page->Dot(at, radius, kKindColours[0], OpacityFor(weight));
  } else {
    page->Square(at, radius * 0.9, kKindColours[1], OpacityFor(weight));
  }
}

void DrawGrid(Page* page) {
  page->Box({kPlotLeft, kPlotTop}, kPlotSize, kPlotSize, kPlotPaper);
  for (int mark = 0; mark <= kUnits; mark += kGridStep) {
    const double x = kPlotLeft + mark * kUnit;
    const double y = kPlotTop + mark * kUnit;
    page->Line({x, kPlotTop}, {x, kPlotTop + kPlotSize}, kGrid, 1);
    page->Line({kPlotLeft, y}, {kPlotLeft + kPlotSize, y}, kGrid, 1);
    page->Text({x, kPlotTop - 14}, std::to_string(mark), kScale, true);
    page->Text({kPlotLeft - 22, y}, std::to_string(mark), kScale, true);
  }
}

// Light ones last, so that a heavy neighbour does not hide them; the number
// that the table gives a minutia stands behind its marker, above everything.
void DrawMinutiae(Page* page, const std::vector<Minutia>& minutiae) {
  std::vector<Minutia> by_weight = minutiae;
  std::stable_sort(
      by_weight.begin(), by_weight.end(),
      [](const Minutia& a, const Minutia& b) { return a.weight > b.weight; });
  for (const Minutia& minutia : by_weight) {
    const Point at = OnPlot(minutia);
    page->Line(at, Along(at, minutia.direction, RadiusFor(minutia.weight) + 15),
               kKindColours[minutia.kind - 1], 2.2, OpacityFor(minutia.weight));
    DrawMarker(page, at, minutia.kind, minutia.weight);
  }
  int number = 0;
  for (const Minutia& minutia : minutiae) {
    const double behind = RadiusFor(minutia.weight) + 8;
    page->RimmedText(Along(OnPlot(minutia), minutia.direction + 180, behind),
                     std::to_string(number++), kNumber);
  }
}

// Every kind in every weight, and how many there are of the kind.
void DrawKinds(Page* page, const std::vector<Minutia>& minutiae, double top) {
  constexpr double kColumn = 30;
  page->Text({kLegendLeft, top}, "Kind, weight", kHeading);
  for (const int kind : {1, 2}) {
    const double y = top + 30.0 * kind;
    const auto count = std::count_if(
        minutiae.begin(), minutiae.end(),
        [&](const Minutia& minutia) { return minutia.kind == kind; });
    page->Text({kLegendLeft, y + 5},
               std::to_string(kind) + "  (" + std::to_string(count) + ")",
               kEntry);
    for (int step = 0; step <= 4; ++step) {
      const double x = kLegendLeft + 58 + kColumn * step;
      DrawMarker(page, {x, y}, kind, 25 * step);
      if (kind == 1) continue;
      page->Text({x, y + 26}, std::to_string(25 * step), kScale, true);
    }
  }
}

void DrawDirections(Page* page, double top) {
  page->Text({kLegendLeft, top}, "Direction, degrees", kHeading);
  const Point centre = {kLegendLeft + 86, top + 76};
  for (int direction = 0; direction < 360; direction += 45) {
    page->Line(centre, Along(centre, direction, 34), kFaintInk, 1.6);
    page->Text(Along(centre, direction, 52), std::to_string(direction), kScale);
  }
}

void DrawPage(Page* page, const Record& record, const std::string& title) {
  page->Text({kPlotLeft, 36}, title, kTitle);
  DrawGrid(page);
  DrawMinutiae(page, record.minutiae);
  page->Text({kLegendLeft, kPlotTop + 14},
             std::to_string(record.minutiae.size()) + " minutiae", kTitle);
  page->Text({kLegendLeft, kPlotTop + 38},
             "record class " + std::to_string(record.header_class), kRemark);
  DrawKinds(page, record.minutiae, kPlotTop + 92);
  DrawDirections(page, kPlotTop + 230);
  page->Text({kPlotLeft, kPageHeight - 14},
             "The numbers are those of the table, behind each mark.", kRemark);
}

}  // namespace

std::string DrawRecord(const Record& record, const std::string& title,
                       PictureFormat format) {
  return DrawPicture(kPageWidth, kPageHeight, format,
                     [&](Page* page) { DrawPage(page, record, title); });
}

}  // namespace corvex::mvfp
