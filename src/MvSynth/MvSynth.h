// Choice of a template among several captures of one finger. May be called
// from any number of threads at once; shares no state with the comparison.
#ifndef SRC_MVSYNTH_MVSYNTH_H_
#define SRC_MVSYNTH_MVSYNTH_H_

#include <cstdint>

namespace corvex {

constexpr int32_t kMaxCaptures = 10;
constexpr int32_t kCaptureSlotBytes = 512;

}  // namespace corvex

// Compares every pair of captures and chooses the capture with more minutiae
// of the best pair.
//
// captures      in   `count` records, each at the start of a 512-byte slot
// count         in   1 to 10
// template_out  out  >= 253 bytes or null: the chosen record
// index_out     out  or null: the chosen capture, from 0
// length_out    out  or null: the chosen record's length in bytes
//
// The lowest score of all pairs, 0-100 (100 for a single capture), or -110 for
// a bad argument or an invalid capture; the outputs then stay untouched.
int32_t MivoSynthMinut(const uint8_t* captures, int32_t count,
                       uint8_t* template_out, uint8_t* index_out,
                       uint16_t* length_out);

// As GetMivoMinutLen.
int32_t GetOrvaMinutLen(const uint8_t* record);

#endif  // SRC_MVSYNTH_MVSYNTH_H_
