#include "long_work.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace corvex::mvfp {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// What is done by then needs no line.
constexpr auto kUnseen = std::chrono::milliseconds(400);
constexpr auto kBetweenShows = std::chrono::milliseconds(100);

volatile sig_atomic_t g_signal = 0;

void Remember(int number) { g_signal = number; }

// 1234567 as 1,234,567.
std::string Grouped(uint64_t number) {
  std::string digits = std::to_string(number);
  for (size_t at = digits.size(); at > 3;) digits.insert(at -= 3, ",");
  return digits;
}

std::string Duration(double seconds) {
  const auto whole = static_cast<uint64_t>(seconds);
  char text[40];
  if (whole < 3600) {
    snprintf(text, sizeof text, "%d:%02d", static_cast<int>(whole / 60),
             static_cast<int>(whole % 60));
  } else {
    snprintf(text, sizeof text, "%llu h %02d min",
             static_cast<unsigned long long>(whole / 3600),
             static_cast<int>(whole / 60 % 60));
  }
  return text;
}

std::string Bar(double share) {
  constexpr size_t kWidth = 20;
  std::string bar(kWidth, '.');
  const auto full = static_cast<size_t>(share * kWidth);
  return bar.replace(0, std::min(full, kWidth), std::min(full, kWidth), '#');
}

}  // namespace

LongWork::LongWork(std::string what, size_t total)
    : what_(std::move(what)), total_(total), next_show_(start_ + kUnseen) {
  g_signal = 0;
  struct sigaction action {};
  action.sa_handler = Remember;
  // Without SA_RESTART, so that it ends a wait for input too.
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], nullptr, &before_[i]);
    if (before_[i].sa_handler != SIG_IGN) {
      sigaction(kSignals[i], &action, nullptr);
    }
  }
}

LongWork::~LongWork() {
  for (size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], &before_[i], nullptr);
  }
}

bool LongWork::GoesOn(size_t done) {
  if (line_.IsVisible()) Show(done);
  return g_signal == 0;
}

void LongWork::Done(size_t done) {
  if (!GoesOn(done)) throw Failure(Interrupted());
}

Failure LongWork::Interrupted() {
  const int number = g_signal;
  return {"interrupted; nothing was changed", "", 128 + number,
          SignalDetails(number), number};
}

void LongWork::Show(size_t done) {
  const auto now = Clock::now();
  if (now < next_show_) return;
  next_show_ = now + kBetweenShows;
  const std::chrono::duration<double> elapsed = now - start_;
  line_.Show(Text(done, elapsed.count()));
}

std::string LongWork::Text(size_t done, double seconds) const {
  const double rate = static_cast<double>(done) / seconds;
  const std::string pace = Grouped(static_cast<uint64_t>(rate)) + " a second";
  if (total_ == 0) return what_ + " " + Grouped(done) + ", " + pace;
  const double share = static_cast<double>(done) / static_cast<double>(total_);
  std::string text = what_ + " [" + Bar(share) + "] " +
                     std::to_string(static_cast<int>(100 * share)) + " %, " +
                     pace;
  if (done > 0) {
    text +=
        ", " + Duration(static_cast<double>(total_ - done) / rate) + " left";
  }
  return text;
}

}  // namespace corvex::mvfp
