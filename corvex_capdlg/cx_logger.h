// Small timing, path and shell helpers of the prompt channel.
#ifndef CORVEX_CAPDLG_CX_LOGGER_H_
#define CORVEX_CAPDLG_CX_LOGGER_H_

#include <cstdint>
#include <string>

namespace corvex {

// What log_get_app_path returns; any other number asks for the whole path.
enum AppPathPart : int32_t { kAppDirectory = 1, kAppFileName = 2 };

void log_cx_sleep(int32_t ms);

// Milliseconds of the monotonic clock since the whole second of the process's
// first call: begins between 0 and 999.
int64_t log_get_millisecond();

// Time that remains of `timeout_ms`, positive while there is some. A start
// mark of 0 starts the watch.
int64_t log_is_timeout_ms(int64_t& start_mark, int64_t timeout_ms);

// The same in whole seconds.
int64_t log_is_timeout(int64_t& start_mark, int64_t timeout_s);

// The running executable: its directory with the final '/', its file name or
// its whole path; empty when it cannot be told.
std::string log_get_app_path(int32_t part);

bool log_file_exist(const std::string& path);

// Runs a shell command and returns what it prints, without one final line
// feed; empty when it cannot be run. The command's exit status is not looked
// at: a host that ignores SIGCHLD has none.
std::string log_run_cmd(const std::string& command);

// The formatted text, cut at 2047 characters.
std::string log_str_format(const char* format, ...)
    __attribute__((format(printf, 1, 2)));

// `text` as one word of a shell command: unchanged when it holds nothing but
// letters, digits and "/._-+", else quoted.
std::string ShellWord(const std::string& text);

}  // namespace corvex

#endif  // CORVEX_CAPDLG_CX_LOGGER_H_
