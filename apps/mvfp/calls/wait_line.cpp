#include "calls/wait_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "report.h"

namespace corvex::mvfp {
namespace {

constexpr char kClearLine[] = "\r\033[K";

bool CanClear() {
  const char* const terminal = getenv("TERM");
  return terminal != nullptr && strcmp(terminal, "dumb") != 0;
}

// A longer line could not be cleared.
size_t Columns() {
  constexpr size_t kUsual = 80;
  winsize size{};
  const bool is_known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0;
  return is_known && size.ws_col > 1 ? size.ws_col : kUsual;
}

}  // namespace

WaitLine::WaitLine()
    : kind_(isatty(STDERR_FILENO) == 0 ? Kind::kNone
            : CanClear()               ? Kind::kReplaced
                                       : Kind::kOnce) {}

WaitLine::~WaitLine() {
  if (shown_ && kind_ == Kind::kReplaced) fputs(kClearLine, stderr);
}

void WaitLine::Show(const std::string& text) {
  if (kind_ == Kind::kReplaced) {
    const std::string line = Printable("mvfp: " + text);
    fprintf(stderr, "%s%s", kClearLine, line.substr(0, Columns() - 1).c_str());
  } else if (kind_ == Kind::kOnce && !shown_) {
    Say(text);
  }
  shown_ = true;
}

}  // namespace corvex::mvfp
