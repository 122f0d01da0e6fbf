// A picture of a calibration: both rates of errors over the threshold.
#ifndef APPS_MVFP_GALLERY_RATES_DRAWING_H_
#define APPS_MVFP_GALLERY_RATES_DRAWING_H_

#include <string>

#include "gallery/calibration.h"
#include "picture/page.h"

namespace corvex::mvfp {

std::string DrawRates(const Calibration& calibration, PictureFormat format);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_GALLERY_RATES_DRAWING_H_
