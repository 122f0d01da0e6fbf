// A picture of a record's minutiae.
#ifndef APPS_MVFP_DRAWING_H_
#define APPS_MVFP_DRAWING_H_

#include <string>
#include <vector>

#include "record.h"

namespace corvex::mvfp {

enum class PictureFormat { kNone, kSvg, kPng };

// By the end of the name; kNone for any other end.
PictureFormat FormatOf(const std::string& path);

// Draws the minutiae with direction, kind and weight, and a legend. Returns
// what went wrong, or "".
std::string DrawRecord(const Record& record, const std::string& title,
                       const std::string& path);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_DRAWING_H_
