// Fingers that nobody has: minutiae records made of numbers alone.
//
// A finger is some 45 minutiae, spaced and turned as the ridges of an arch, a
// loop or a whorl would have it. An impression of it is what one press shows:
// displaced, turned and stretched, some minutiae missing, some that are not
// there, every value a little off. The same numbers give the same record on
// every machine, byte for byte.
#ifndef APPS_VIRTUAL_READER_SYNTHETIC_FINGER_H_
#define APPS_VIRTUAL_READER_SYNTHETIC_FINGER_H_

#include <cstdint>

#include "virtual_reader/bytes.h"

namespace corvex::vreader {

Bytes SyntheticRecord(uint32_t finger, uint32_t impression);

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_SYNTHETIC_FINGER_H_
