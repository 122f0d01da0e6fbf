// The picture beside the text: the driver's, or a fingerprint drawn here.
#ifndef APPS_CX_CAPDLG_FINGER_PICTURE_H_
#define APPS_CX_CAPDLG_FINGER_PICTURE_H_

#include <QImage>

#include "cx_capdlg/look.h"

namespace corvex {

// A driver's picture; none when it is no BMP, or of one colour throughout: the
// driver sends a blank one, a size without a content.
QImage DecodePicture(const uint8_t* bmp, int len_bytes);

// A fingerprint, coloured as far as presses, 0 to 3, are done.
QImage DrawFinger(const QSize& size, const Look& look, int done);

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_FINGER_PICTURE_H_
