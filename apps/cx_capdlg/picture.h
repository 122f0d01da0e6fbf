// The judgement of a picture's bytes before anything decodes them.
#ifndef APPS_CX_CAPDLG_PICTURE_H_
#define APPS_CX_CAPDLG_PICTURE_H_

#include <cstddef>
#include <cstdint>

namespace corvex {

// Whether the bytes are a BMP file of 8, 24 or 32 bits a pixel, uncompressed,
// of a sensible size and complete.
bool IsBmp(const uint8_t* data, size_t len_bytes);

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_PICTURE_H_
