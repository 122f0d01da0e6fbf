#include "cx_logger.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace corvex {
namespace {

int64_t MonotonicMs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

int64_t ElapsedMs(int64_t& start_mark) {
  const int64_t now = log_get_millisecond();
  if (start_mark == 0) start_mark = now;
  return now - start_mark;
}

// Not fread: a signal without SA_RESTART would end it early, and output that
// is lost here reads as "the user has closed the window".
std::string ReadAll(int file) {
  std::string output;
  char piece[1024];
  while (true) {
    const ssize_t got = read(file, piece, sizeof piece);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return output;
    output.append(piece, static_cast<size_t>(got));
  }
}

bool NeedsNoQuotes(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
         (c >= 'a' && c <= 'z') || (c != '\0' && strchr("/._-+", c) != nullptr);
}

}  // namespace

void log_cx_sleep(int32_t ms) {
  if (ms > 0) usleep(static_cast<useconds_t>(ms) * 1000);
}

int64_t log_get_millisecond() {
  static const int64_t base = MonotonicMs() / 1000 * 1000;
  return MonotonicMs() - base;
}

int64_t log_is_timeout_ms(int64_t& start_mark, int64_t timeout_ms) {
  return timeout_ms - ElapsedMs(start_mark);
}

int64_t log_is_timeout(int64_t& start_mark, int64_t timeout_s) {
  return timeout_s - ElapsedMs(start_mark) / 1000;
}

std::string log_get_app_path(int32_t part) {
  char buffer[260] = {};
  const ssize_t len = readlink("/proc/self/exe", buffer, sizeof buffer);
  if (len < 0) return "";
  std::string path(buffer, static_cast<size_t>(len));
  const size_t name = path.rfind('/') + 1;
  if (part == kAppDirectory) return path.substr(0, name);
  if (part == kAppFileName) return path.substr(name);
  return path;
}

bool log_file_exist(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

std::string log_run_cmd(const std::string& command) {
  FILE* const pipe = popen(command.c_str(), "re");
  if (pipe == nullptr) return "";
  std::string output = ReadAll(fileno(pipe));
  pclose(pipe);
  if (!output.empty() && output.back() == '\n') output.pop_back();
  return output;
}

std::string log_str_format(const char* format, ...) {
  char text[2048];
  va_list args;
  va_start(args, format);
  const int len = vsnprintf(text, sizeof text, format, args);
  va_end(args);
  return len < 0 ? "" : text;
}

std::string ShellWord(const std::string& text) {
  if (std::all_of(text.begin(), text.end(), NeedsNoQuotes)) return text;
  std::string word = "'";
  for (const char c : text) {
    if (c == '\'') {
      word += "'\\''";
    } else {
      word += c;
    }
  }
  return word + "'";
}

}  // namespace corvex
