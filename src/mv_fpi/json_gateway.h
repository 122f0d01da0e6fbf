// DEV_CommCall and its two halves: a request in JSON, an answer in JSON.
#ifndef SRC_MV_FPI_JSON_GATEWAY_H_
#define SRC_MV_FPI_JSON_GATEWAY_H_

#include <cstdint>

#include "mv_fpi.h"

namespace corvex {

// Longest port number in a request, in characters.
constexpr int kPortTextBytes = 40;

enum JsonCode : int32_t {
  kJsonBadField = -1,   // or a null argument
  kJsonUnusable = -99,  // no JSON, no "FunctionCode"; or no reply could be made
};

}  // namespace corvex

// Reads a request. Copies the text of its port number, without a terminator,
// into port_out: kPortTextBytes + 1 zeroed bytes. spare_out must not be null
// and is not written. Returns 0 or a JsonCode.
int32_t CxSplitJson(const char* text, char* port_out, char* spare_out);

// Prints a reply and its terminator into `out`, DEV_REPLY_BYTES. version, sn
// and date are looked at only when `code` is not negative. Returns the length
// of the text; or a JsonCode, also for a text that does not fit, and leaves
// `out` untouched.
int32_t CxAddJson(int32_t code, const char* message, const char* version,
                  const char* sn, const char* date, char* out);

#endif  // SRC_MV_FPI_JSON_GATEWAY_H_
