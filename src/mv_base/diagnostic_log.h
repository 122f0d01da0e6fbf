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

// Where a record comes from. The source is the module's path, such as
// "src/mv_cmd", whatever file of it the line stands in.
struct LogOrigin {
  const char* source;
  int line;
  bool names_thread;  // adds process and thread id
};

// Appends one record that begins "[source:line][process:thread] ", or
// "[source:line] " when the origin names no thread.
int32_t LogFrom(const LogOrigin& origin, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

}  // namespace corvex

// Both take a printf format and its arguments, and expect the module's path as
// `kLogSource` in scope.
#define MV_LOG(...) \
  corvex::LogFrom(corvex::LogOrigin{kLogSource, __LINE__, true}, __VA_ARGS__)
#define MV_LOG_SHORT(...) \
  corvex::LogFrom(corvex::LogOrigin{kLogSource, __LINE__, false}, __VA_ARGS__)

#endif  // SRC_MV_BASE_DIAGNOSTIC_LOG_H_
