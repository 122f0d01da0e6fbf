// A page of fixed size in points, drawn to a file. One drawing serves both
// formats.
#ifndef APPS_MVFP_PICTURE_PAGE_H_
#define APPS_MVFP_PICTURE_PAGE_H_

#include <cairo.h>

#include <functional>
#include <string>
#include <vector>

namespace corvex::mvfp {

enum class PictureFormat { kNone, kSvg, kPng };

// By the end of the name; kNone for any other end.
PictureFormat FormatOf(const std::string& path);

// Throws a Failure when the name ends otherwise.
void CheckPictureName(const std::string& path);

struct Colour {
  double red, green, blue;
};

// Told apart by people who see red and green alike, and in grey print.
constexpr Colour kBlue = {0.00, 0.35, 0.62};
constexpr Colour kOrange = {0.80, 0.33, 0.00};
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

struct Point {
  double x, y;
};

class Page {
 public:
  explicit Page(cairo_t* cairo);

  void Box(const Point& corner, double width, double height,
           const Colour& colour);
  void Line(const Point& from, const Point& to, const Colour& colour,
            double width, double opacity = 1);
  void Path(const std::vector<Point>& points, const Colour& colour,
            double width);
  void Area(const std::vector<Point>& points, const Colour& colour,
            double opacity);

  // Begins at the point, or has its centre there.
  void Text(Point at, const std::string& text, const Font& font,
            bool centred = false);
  // Reads upwards, its centre at the point.
  void UprightText(const Point& at, const std::string& text, const Font& font);
  // A rim of paper keeps a text legible where it meets a line.
  void RimmedText(const Point& at, const std::string& text, const Font& font);

  // An outline over paper, filled by half as much; `opacity` is the outline's.
  void Dot(const Point& at, double radius, const Colour& colour,
           double opacity);
  void Square(const Point& at, double half, const Colour& colour,
              double opacity);

 private:
  Point StartOfCentred(const Point& at, const std::string& text);
  void Trace(const std::vector<Point>& points);
  void Use(const Colour& colour, double opacity = 1);
  void UseFont(const Font& font);
  void Stroke(const Colour& colour, double width, double opacity = 1);
  void Fill(const Colour& colour, double opacity);
  void FillAndOutline(const Colour& colour, double opacity);

  cairo_t* const cairo_;
};

// The picture's file. The format is not kNone.
std::string DrawPicture(double width, double height, PictureFormat format,
                        const std::function<void(Page* page)>& draw);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_PICTURE_PAGE_H_
