// One drawing serves both formats. Everything is laid out in points on a page
// of fixed size: the plot of 256 by 256 units on the left, the legend right.
#include "drawing.h"

#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <memory>

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

struct Colour {
  double red, green, blue;
};

// Told apart by people who see red and green alike, and in grey print.
constexpr Colour kKindColours[] = {{0.00, 0.35, 0.62}, {0.80, 0.33, 0.00}};
constexpr Colour kPaper = {1.0, 1.0, 1.0};
constexpr Colour kPlotPaper = {0.975, 0.98, 0.985};
constexpr Colour kGrid = {0.87, 0.89, 0.91};
constexpr Colour kInk = {0.13, 0.16, 0.20};
constexpr Colour kFaintInk = {0.42, 0.46, 0.51};

struct Point {
  double x, y;
};

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

class Page {
 public:
  explicit Page(cairo_t* cairo) : cairo_(cairo) {}

  void Paper(const Colour& colour) {
    Use(colour);
    cairo_paint(cairo_);
  }

  void Box(double left, double top, double size, const Colour& fill,
           const Colour& edge) {
    cairo_rectangle(cairo_, left, top, size, size);
    Use(fill);
    cairo_fill_preserve(cairo_);
    Stroke(edge, 1);
  }

  void Line(const Point& from, const Point& to, const Colour& colour,
            double width, double opacity = 1) {
    cairo_move_to(cairo_, from.x, from.y);
    cairo_line_to(cairo_, to.x, to.y);
    cairo_set_line_cap(cairo_, CAIRO_LINE_CAP_ROUND);
    Stroke(colour, width, opacity);
  }

  void Text(const Point& at, const std::string& text, double size,
            const Colour& colour, bool bold = false) {
    UseFont(size, bold);
    Use(colour);
    cairo_move_to(cairo_, at.x, at.y);
    cairo_show_text(cairo_, text.c_str());
  }

  // A rim of paper keeps a number legible where it meets a line.
  void Number(const Point& at, size_t number) {
    constexpr double kSize = 10.5;
    const std::string text = std::to_string(number);
    const Point start = StartOfCentred(at, text, kSize);
    cairo_move_to(cairo_, start.x, start.y);
    cairo_text_path(cairo_, text.c_str());
    cairo_set_line_join(cairo_, CAIRO_LINE_JOIN_ROUND);
    Stroke(kPlotPaper, 3);
    Text(start, text, kSize, kInk);
  }

  void CentredText(const Point& at, const std::string& text, double size,
                   const Colour& colour) {
    Text(StartOfCentred(at, text, size), text, size, colour);
  }

  // A round dot is kind 1, a square is kind 2; heavier is larger and darker.
  void Marker(const Point& at, int kind, int weight) {
    const double radius = RadiusFor(weight);
    if (kind == 1) {
      cairo_new_sub_path(cairo_);
      cairo_arc(cairo_, at.x, at.y, radius, 0, 2 * kPi);
    } else {
      const double half = radius * 0.9;
      cairo_rectangle(cairo_, at.x - half, at.y - half, 2 * half, 2 * half);
    }
    const Colour& colour = ColourOf(kind);
    Use(kPaper);
    cairo_fill_preserve(cairo_);
    Use(colour, OpacityFor(weight) * 0.75);
    cairo_fill_preserve(cairo_);
    Stroke(colour, 1.4, OpacityFor(weight));
  }

  void DrawMinutia(const Point& at, const Minutia& minutia) {
    const double reach = RadiusFor(minutia.weight) + 15;
    Line(at, Along(at, minutia.direction, reach), ColourOf(minutia.kind), 2.2,
         OpacityFor(minutia.weight));
    Marker(at, minutia.kind, minutia.weight);
  }

 private:
  Point StartOfCentred(const Point& at, const std::string& text, double size) {
    UseFont(size, false);
    cairo_text_extents_t extents;
    cairo_text_extents(cairo_, text.c_str(), &extents);
    return {at.x - extents.width / 2 - extents.x_bearing,
            at.y - extents.height / 2 - extents.y_bearing};
  }

  static const Colour& ColourOf(int kind) { return kKindColours[kind - 1]; }

  void Use(const Colour& colour, double opacity = 1) {
    cairo_set_source_rgba(cairo_, colour.red, colour.green, colour.blue,
                          opacity);
  }

  void UseFont(double size, bool bold) {
    cairo_select_font_face(
        cairo_, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
        bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cairo_, size);
  }

  void Stroke(const Colour& colour, double width, double opacity = 1) {
    Use(colour, opacity);
    cairo_set_line_width(cairo_, width);
    cairo_stroke(cairo_);
  }

  cairo_t* const cairo_;
};

void DrawGrid(Page* page) {
  page->Box(kPlotLeft, kPlotTop, kPlotSize, kPlotPaper, kGrid);
  for (int mark = 0; mark <= kUnits; mark += kGridStep) {
    const double x = kPlotLeft + mark * kUnit;
    const double y = kPlotTop + mark * kUnit;
    page->Line({x, kPlotTop}, {x, kPlotTop + kPlotSize}, kGrid, 1);
    page->Line({kPlotLeft, y}, {kPlotLeft + kPlotSize, y}, kGrid, 1);
    const std::string label = std::to_string(mark);
    page->CentredText({x, kPlotTop - 14}, label, 12, kFaintInk);
    page->CentredText({kPlotLeft - 22, y}, label, 12, kFaintInk);
  }
}

// Light ones last, so that a heavy neighbour does not hide them; the number
// that the table gives a minutia stands behind its marker, above everything.
void DrawMinutiae(Page* page, const Record& record) {
  std::vector<Minutia> by_weight = record.minutiae;
  std::stable_sort(
      by_weight.begin(), by_weight.end(),
      [](const Minutia& a, const Minutia& b) { return a.weight > b.weight; });
  for (const Minutia& minutia : by_weight) {
    page->DrawMinutia(OnPlot(minutia), minutia);
  }
  for (size_t i = 0; i < record.minutiae.size(); ++i) {
    const Minutia& minutia = record.minutiae[i];
    const double behind = RadiusFor(minutia.weight) + 8;
    page->Number(Along(OnPlot(minutia), minutia.direction + 180, behind), i);
  }
}

int CountOf(const Record& record, int kind) {
  int count = 0;
  for (const Minutia& minutia : record.minutiae) count += minutia.kind == kind;
  return count;
}

void DrawKinds(Page* page, const Record& record, double top) {
  page->Text({kLegendLeft, top}, "Kind", 14, kInk, true);
  for (const int kind : {1, 2}) {
    const double y = top + 28.0 * kind;
    page->DrawMinutia({kLegendLeft + 10, y - 5}, {0, 0, 0, 70, kind, 0});
    page->Text({kLegendLeft + 46, y},
               std::to_string(kind) + "  (" +
                   std::to_string(CountOf(record, kind)) + ")",
               14, kInk);
  }
}

void DrawWeights(Page* page, double top) {
  page->Text({kLegendLeft, top}, "Weight", 14, kInk, true);
  double x = kLegendLeft + 10;
  for (const int weight : {0, 25, 50, 75, 100}) {
    page->Marker({x, top + 26}, 1, weight);
    page->Marker({x, top + 50}, 2, weight);
    page->CentredText({x, top + 74}, std::to_string(weight), 12, kFaintInk);
    x += 38;
  }
}

void DrawDirections(Page* page, double top) {
  page->Text({kLegendLeft, top}, "Direction, degrees", 14, kInk, true);
  const Point centre = {kLegendLeft + 86, top + 76};
  for (int direction = 0; direction < 360; direction += 45) {
    page->Line(centre, Along(centre, direction, 34), kFaintInk, 1.6);
    page->CentredText(Along(centre, direction, 52), std::to_string(direction),
                      12, kFaintInk);
  }
}

void DrawPage(Page* page, const Record& record, const std::string& title) {
  page->Paper(kPaper);
  page->Text({kPlotLeft, 36}, title, 18, kInk, true);
  DrawGrid(page);
  DrawMinutiae(page, record);
  page->Text({kLegendLeft, kPlotTop + 14},
             std::to_string(record.minutiae.size()) + " minutiae", 20, kInk,
             true);
  page->Text({kLegendLeft, kPlotTop + 38},
             "record class " + std::to_string(record.header_class), 14,
             kFaintInk);
  DrawKinds(page, record, kPlotTop + 92);
  DrawWeights(page, kPlotTop + 206);
  DrawDirections(page, kPlotTop + 340);
  page->Text({kLegendLeft, kPlotTop + kPlotSize - 24},
             "The numbers are those of", 13, kFaintInk);
  page->Text({kLegendLeft, kPlotTop + kPlotSize - 6},
             "the table, behind each mark.", 13, kFaintInk);
}

struct Destroyer {
  void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
  void operator()(cairo_surface_t* surface) const {
    cairo_surface_destroy(surface);
  }
};

cairo_surface_t* MakeSurface(PictureFormat format, const std::string& path) {
  if (format == PictureFormat::kSvg) {
    return cairo_svg_surface_create(path.c_str(), kPageWidth, kPageHeight);
  }
  return cairo_image_surface_create(CAIRO_FORMAT_RGB24,
                                    static_cast<int>(kPageWidth),
                                    static_cast<int>(kPageHeight));
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() > end.size() &&
         text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

PictureFormat FormatOf(const std::string& path) {
  if (EndsWith(path, ".svg")) return PictureFormat::kSvg;
  if (EndsWith(path, ".png")) return PictureFormat::kPng;
  return PictureFormat::kNone;
}

std::string DrawRecord(const Record& record, const std::string& title,
                       const std::string& path) {
  const PictureFormat format = FormatOf(path);
  const std::unique_ptr<cairo_surface_t, Destroyer> surface(
      MakeSurface(format, path));
  const std::unique_ptr<cairo_t, Destroyer> cairo(cairo_create(surface.get()));
  Page page(cairo.get());
  DrawPage(&page, record, title);
  if (format == PictureFormat::kPng) {
    cairo_surface_flush(surface.get());
    return cairo_surface_write_to_png(surface.get(), path.c_str()) ==
                   CAIRO_STATUS_SUCCESS
               ? ""
               : "the file cannot be written";
  }
  cairo_surface_finish(surface.get());
  const cairo_status_t status = cairo_surface_status(surface.get());
  return status == CAIRO_STATUS_SUCCESS ? "" : cairo_status_to_string(status);
}

}  // namespace corvex::mvfp
