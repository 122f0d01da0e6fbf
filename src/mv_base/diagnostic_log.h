// The diagnostic log: /tmp/fplog_YYYYMMDD.log, one file a local day.
//
// The file's presence switches it on; the driver never creates it. A record is
// a time stamp and the caller's text, written whole with one write. Callable
// from any thread.
#ifndef SRC_MV_BASE_DIAGNOSTIC_LOG_H_
#define SRC_MV_BASE_DIAGNOSTIC_LOG_H_

#include <cstdint>

// Appends one record; the format brings its own line end. Returns 0 when the
// record was written or the log is off, -1 when the clock could not be read or
// the file not be written.
int32_t MIVO_Log_File(const char* format, ...)
    __attribute__((format(printf, 1, 2)));

namespace corvex {

// The same with "[process:thread] " behind the place, which is a text such as
// "[src/mv_cmd:39]".
int32_t LogWithThread(const char* place, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

}  // namespace corvex

// Log with the place of the line: its module's path, which the build gives as
// MV_LOG_SOURCE, and its number there. The short form names no thread. Both
// take a format that is a literal, and its arguments.
#define MV_LOG(...) corvex::LogWithThread(MV_LOG_PLACE, __VA_ARGS__)
#define MV_LOG_SHORT(...) MIVO_Log_File(MV_LOG_PLACE " " __VA_ARGS__)

#define MV_LOG_PLACE "[" MV_LOG_SOURCE ":" MV_LOG_DIGITS(__LINE__) "]"
#define MV_LOG_DIGITS(number) MV_LOG_TEXT(number)
#define MV_LOG_TEXT(token) #token

#endif  // SRC_MV_BASE_DIAGNOSTIC_LOG_H_
