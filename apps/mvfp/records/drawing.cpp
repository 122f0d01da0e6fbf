// One drawing serves both formats. Everything is laid out in points on a page
// of fixed size: the plot of 256 by 256 units on the left, the legend right.
#include "records/drawing.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "libraries/cairo.h"

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

struct Font {
  double size;
  Colour colour;
  cairo_font_weight_t weight = CAIRO_FONT_WEIGHT_NORMAL;
};
constexpr Font kTitle = {18, kInk, CAIRO_FONT_WEIGHT_BOLD};
constexpr Font kHeading = {14, kInk, CAIRO_FONT_WEIGHT_BOLD};
constexpr Font kEntry = {14, kInk};
constexpr Font kRemark = {13, kFaintInk};
constexpr Font kScale = {12, kFaintInk};
constexpr Font kNumber = {10.5, kInk};

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
  explicit Page(cairo_t* cairo) : cairo_(cairo) {
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
  }

  void Box(const Point& corner, double width, double height,
           const Colour& colour) {
    cairo_rectangle(cairo_, corner.x, corner.y, width, height);
    Use(colour);
    cairo_fill(cairo_);
  }

  void Line(const Point& from, const Point& to, const Colour& colour,
            double width, double opacity = 1) {
    cairo_move_to(cairo_, from.x, from.y);
    cairo_line_to(cairo_, to.x, to.y);
    Stroke(colour, width, opacity);
  }

  // Begins at the point, or has its centre there.
  void Text(Point at, const std::string& text, const Font& font,
            bool centred = false) {
    UseFont(font);
    if (centred) at = StartOfCentred(at, text);
    Use(font.colour);
    cairo_move_to(cairo_, at.x, at.y);
    cairo_show_text(cairo_, text.c_str());
  }

  // A rim of paper keeps a number legible where it meets a line.
  void Number(const Point& at, const std::string& number) {
    UseFont(kNumber);
    const Point start = StartOfCentred(at, number);
    cairo_move_to(cairo_, start.x, start.y);
    cairo_text_path(cairo_, number.c_str());
    Stroke(kPlotPaper, 3);
    Text(start, number, kNumber);
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
    Use(kPaper);
    cairo_fill_preserve(cairo_);
    Use(kKindColours[kind - 1], OpacityFor(weight) * 0.75);
    cairo_fill_preserve(cairo_);
    Stroke(kKindColours[kind - 1], 1.4, OpacityFor(weight));
  }

 private:
  Point StartOfCentred(const Point& at, const std::string& text) {
    cairo_text_extents_t extents;
    cairo_text_extents(cairo_, text.c_str(), &extents);
    return {at.x - extents.width / 2 - extents.x_bearing,
            at.y - extents.height / 2 - extents.y_bearing};
  }

  void Use(const Colour& colour, double opacity = 1) {
    cairo_set_source_rgba(cairo_, colour.red, colour.green, colour.blue,
                          opacity);
  }

  void UseFont(const Font& font) {
    cairo_select_font_face(cairo_, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           font.weight);
    cairo_set_font_size(cairo_, font.size);
  }

  void Stroke(const Colour& colour, double width, double opacity = 1) {
    Use(colour, opacity);
    cairo_set_line_width(cairo_, width);
    cairo_stroke(cairo_);
  }

  cairo_t* const cairo_;
};

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
    page->Marker(at, minutia.kind, minutia.weight);
  }
  int number = 0;
  for (const Minutia& minutia : minutiae) {
    const double behind = RadiusFor(minutia.weight) + 8;
    page->Number(Along(OnPlot(minutia), minutia.direction + 180, behind),
                 std::to_string(number++));
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
      page->Marker({x, y}, kind, 25 * step);
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

void DrawPage(Page page, const Record& record, const std::string& title) {
  page.Box({0, 0}, kPageWidth, kPageHeight, kPaper);
  page.Text({kPlotLeft, 36}, title, kTitle);
  DrawGrid(&page);
  DrawMinutiae(&page, record.minutiae);
  page.Text({kLegendLeft, kPlotTop + 14},
            std::to_string(record.minutiae.size()) + " minutiae", kTitle);
  page.Text({kLegendLeft, kPlotTop + 38},
            "record class " + std::to_string(record.header_class), kRemark);
  DrawKinds(&page, record.minutiae, kPlotTop + 92);
  DrawDirections(&page, kPlotTop + 230);
  page.Text({kPlotLeft, kPageHeight - 14},
            "The numbers are those of the table, behind each mark.", kRemark);
}

struct Destroy {
  void operator()(cairo_surface_t* surface) const {
    cairo_surface_destroy(surface);
  }
  void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};

cairo_status_t Append(void* file, const unsigned char* bytes,
                      unsigned int count) {
  static_cast<std::string*>(file)->append(bytes, bytes + count);
  return CAIRO_STATUS_SUCCESS;
}

}  // namespace

PictureFormat FormatOf(const std::string& path) {
  const auto end = std::filesystem::path(path).extension();
  if (end == ".svg") return PictureFormat::kSvg;
  return end == ".png" ? PictureFormat::kPng : PictureFormat::kNone;
}

std::string DrawRecord(const Record& record, const std::string& title,
                       PictureFormat format) {
  std::string file;
  const bool is_svg = format == PictureFormat::kSvg;
  const std::unique_ptr<cairo_surface_t, Destroy> surface(
      is_svg ? cairo_svg_surface_create_for_stream(Append, &file, kPageWidth,
                                                   kPageHeight)
             : cairo_image_surface_create(CAIRO_FORMAT_RGB24,
                                          static_cast<int>(kPageWidth),
                                          static_cast<int>(kPageHeight)));
  const std::unique_ptr<cairo_t, Destroy> cairo(cairo_create(surface.get()));
  DrawPage(Page(cairo.get()), record, title);
  if (!is_svg) cairo_surface_write_to_png_stream(surface.get(), Append, &file);
  cairo_surface_finish(surface.get());
  if (file.empty() ||
      cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
    throw std::runtime_error("no memory for the picture");
  }
  return file;
}

}  // namespace corvex::mvfp
