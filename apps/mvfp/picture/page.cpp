#include "picture/page.h"

#include <cmath>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "libraries/cairo.h"
#include "report.h"

namespace corvex::mvfp {
namespace {

cairo_status_t Append(void* file, const unsigned char* bytes,
                      unsigned int count) {
  static_cast<std::string*>(file)->append(bytes, bytes + count);
  return CAIRO_STATUS_SUCCESS;
}

struct Destroy {
  void operator()(cairo_surface_t* surface) const {
    cairo_surface_destroy(surface);
  }
  void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};

}  // namespace

PictureFormat FormatOf(const std::string& path) {
  const auto end = std::filesystem::path(path).extension();
  if (end == ".svg") return PictureFormat::kSvg;
  return end == ".png" ? PictureFormat::kPng : PictureFormat::kNone;
}

void CheckPictureName(const std::string& path) {
  if (FormatOf(path) != PictureFormat::kNone) return;
  throw UsageFailure("cannot tell the format of the picture " + path,
                     "let its name end in .svg or .png");
}

Page::Page(cairo_t* cairo) : cairo_(cairo) {
  cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
}

void Page::Box(const Point& corner, double width, double height,
               const Colour& colour) {
  cairo_rectangle(cairo_, corner.x, corner.y, width, height);
  Fill(colour, 1);
}

void Page::Line(const Point& from, const Point& to, const Colour& colour,
                double width, double opacity) {
  Trace({from, to});
  Stroke(colour, width, opacity);
}

void Page::Path(const std::vector<Point>& points, const Colour& colour,
                double width) {
  Trace(points);
  Stroke(colour, width);
}

void Page::Area(const std::vector<Point>& points, const Colour& colour,
                double opacity) {
  Trace(points);
  Fill(colour, opacity);
}

void Page::Text(Point at, const std::string& text, const Font& font,
                bool centred) {
  UseFont(font);
  if (centred) at = StartOfCentred(at, text);
  Use(font.colour);
  cairo_move_to(cairo_, at.x, at.y);
  cairo_show_text(cairo_, text.c_str());
}

void Page::UprightText(const Point& at, const std::string& text,
                       const Font& font) {
  cairo_save(cairo_);
  cairo_translate(cairo_, at.x, at.y);
  cairo_rotate(cairo_, -std::acos(0.0));
  Text({0, 0}, text, font, /*centred=*/true);
  cairo_restore(cairo_);
}

void Page::RimmedText(const Point& at, const std::string& text,
                      const Font& font) {
  UseFont(font);
  const Point start = StartOfCentred(at, text);
  cairo_move_to(cairo_, start.x, start.y);
  cairo_text_path(cairo_, text.c_str());
  Stroke(kPlotPaper, 3);
  Text(start, text, font);
}

void Page::Dot(const Point& at, double radius, const Colour& colour,
               double opacity) {
  cairo_new_sub_path(cairo_);
  cairo_arc(cairo_, at.x, at.y, radius, 0, 4 * std::acos(0.0));
  FillAndOutline(colour, opacity);
}

void Page::Square(const Point& at, double half, const Colour& colour,
                  double opacity) {
  cairo_rectangle(cairo_, at.x - half, at.y - half, 2 * half, 2 * half);
  FillAndOutline(colour, opacity);
}

Point Page::StartOfCentred(const Point& at, const std::string& text) {
  cairo_text_extents_t extents;
  cairo_text_extents(cairo_, text.c_str(), &extents);
  return {at.x - extents.width / 2 - extents.x_bearing,
          at.y - extents.height / 2 - extents.y_bearing};
}

void Page::Trace(const std::vector<Point>& points) {
  cairo_new_sub_path(cairo_);
  for (const Point& point : points) cairo_line_to(cairo_, point.x, point.y);
}

void Page::Use(const Colour& colour, double opacity) {
  cairo_set_source_rgba(cairo_, colour.red, colour.green, colour.blue, opacity);
}

void Page::UseFont(const Font& font) {
  cairo_select_font_face(cairo_, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                         font.weight);
  cairo_set_font_size(cairo_, font.size);
}

void Page::Stroke(const Colour& colour, double width, double opacity) {
  Use(colour, opacity);
  cairo_set_line_width(cairo_, width);
  cairo_stroke(cairo_);
}

void Page::Fill(const Colour& colour, double opacity) {
  Use(colour, opacity);
  cairo_fill(cairo_);
}

void Page::FillAndOutline(const Colour& colour, double opacity) {
  Use(kPaper);
  cairo_fill_preserve(cairo_);
  Use(colour, opacity * 0.75);
  cairo_fill_preserve(cairo_);
  Stroke(colour, 1.4, opacity);
}

std::string DrawPicture(double width, double height, PictureFormat format,
                        const std::function<void(Page* page)>& draw) {
  std::string file;
  const bool is_svg = format == PictureFormat::kSvg;
  const std::unique_ptr<cairo_surface_t, Destroy> surface(
      is_svg ? cairo_svg_surface_create_for_stream(Append, &file, width, height)
             : cairo_image_surface_create(CAIRO_FORMAT_RGB24,
                                          static_cast<int>(width),
                                          static_cast<int>(height)));
  const std::unique_ptr<cairo_t, Destroy> cairo(cairo_create(surface.get()));
  Page page(cairo.get());
  page.Box({0, 0}, width, height, kPaper);
  draw(&page);
  if (!is_svg) cairo_surface_write_to_png_stream(surface.get(), Append, &file);
  cairo_surface_finish(surface.get());
  if (file.empty() ||
      cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
    throw std::runtime_error("no memory for the picture");
  }
  return file;
}

}  // namespace corvex::mvfp
