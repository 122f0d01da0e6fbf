// Cairo, which draws pictures of records, and no other command needs.
#ifndef APPS_MVFP_LIBRARIES_CAIRO_H_
#define APPS_MVFP_LIBRARIES_CAIRO_H_

#include <cairo-svg.h>
#include <cairo.h>

#include "libraries/library.h"

namespace corvex::mvfp {

inline constexpr Library kCairo = {"libcairo.so.2", "a picture needs cairo",
                                   "libcairo2"};

MVFP_LIBRARY_FUNCTION(kCairo, cairo_arc);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_create);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_destroy);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_fill);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_fill_preserve);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_image_surface_create);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_line_to);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_move_to);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_new_sub_path);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_rectangle);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_restore);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_rotate);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_save);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_select_font_face);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_set_font_size);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_set_line_cap);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_set_line_join);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_set_line_width);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_set_source_rgba);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_show_text);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_stroke);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_surface_destroy);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_surface_finish);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_surface_status);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_surface_write_to_png_stream);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_svg_surface_create_for_stream);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_text_extents);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_text_path);
MVFP_LIBRARY_FUNCTION(kCairo, cairo_translate);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_LIBRARIES_CAIRO_H_
