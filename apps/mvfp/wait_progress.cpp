#include "wait_progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace corvex::mvfp {
namespace {

constexpr char kClearLine[] = "\r\033[K";

// A reply with more than this many bytes is a record, so a press was taken.
constexpr int kLongestNoRecord = 16;

// The length that a log line of `worker` says a reply has; -1 in other lines.
int ReplyLength(const std::string& line, pid_t worker) {
  constexpr char kLength[] = "corvex_dev_io 数据长度:[";
  if (line.find("][" + std::to_string(worker) + ":") == std::string::npos) {
    return -1;
  }
  const size_t at = line.find(kLength);
  if (at == std::string::npos) return -1;
  return atoi(line.c_str() + at + sizeof kLength - 1);
}

}  // namespace

WaitProgress::WaitProgress(int presses, int timeout_s)
    : visible_(isatty(STDERR_FILENO) != 0),
      presses_(presses),
      timeout_s_(timeout_s) {}

WaitProgress::~WaitProgress() {
  if (visible_) fputs(kClearLine, stderr);
}

void WaitProgress::CountPresses(pid_t worker) {
  for (const std::string& line : log_.Poll()) {
    if (ReplyLength(line, worker) > kLongestNoRecord) ++taken_;
  }
}

std::string WaitProgress::Prompt() const {
  if (presses_ == 1) return "press the finger on the sensor";
  if (log_.OpenPath().empty()) {
    return "press three times, lift between; a beep takes each";
  }
  if (taken_ >= presses_) return "all presses taken";
  const std::string number =
      std::to_string(taken_ + 1) + " of " + std::to_string(presses_);
  return (taken_ == 0 ? "press " : "lift the finger, then press ") + number;
}

void WaitProgress::Update(pid_t worker, long elapsed_ms) {
  if (!visible_) return;
  CountPresses(worker);
  const long left_s = std::max(0L, timeout_s_ - elapsed_ms / 1000);
  fprintf(stderr, "%smvfp: %s (%ld s left)", kClearLine, Prompt().c_str(),
          left_s);
}

}  // namespace corvex::mvfp
