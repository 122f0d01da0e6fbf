#include "gallery/calibration.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <functional>
#include <limits>
#include <numeric>
#include <optional>
#include <thread>

#include "long_work.h"

namespace corvex::mvfp {
namespace {

// A person's or a finger's records: entries [begin, end).
struct Range {
  size_t begin, end;
  size_t Size() const { return end - begin; }
};

template <typename IsSame>
std::vector<Range> Split(const std::vector<GalleryEntry>& entries,
                         const IsSame& is_same) {
  std::vector<Range> ranges;
  for (size_t i = 0; i < entries.size(); ++i) {
    if (ranges.empty() || !is_same(entries[i - 1], entries[i])) {
      ranges.push_back({i, i});
    }
    ranges.back().end = i + 1;
  }
  return ranges;
}

class Trials {
 public:
  explicit Trials(const std::vector<GalleryEntry>& entries)
      : entries_(entries),
        people_(Split(entries, HaveOneId)),
        fingers_(Split(entries, AreOfOneFinger)) {
    for (const Range& person : people_) {
      total_ += person.Size() * person.begin;
    }
  }

  Calibration Run() {
    work_.emplace("comparing", total_);
    const size_t threads = std::max(1U, std::thread::hardware_concurrency());
    std::vector<Part> parts(threads, Part(people_.size()));
    parts[0].reports = true;
    std::vector<std::thread> helpers;
    helpers.reserve(threads - 1);
    try {
      for (size_t i = 1; i < threads; ++i) {
        helpers.emplace_back([this, &parts, i] { Help(&parts[i]); });
      }
    } catch (const std::exception&) {
      // Those that run do the work of those that could not be started.
    }
    Help(&parts[0]);
    for (std::thread& helper : helpers) helper.join();
    work_->Done(done_);
    Calibration sum = CompareFingers(&*work_);
    for (const Part& part : parts) {
      sum.strangers.Add(part.strangers);
      sum.ids.Add(part.ids);
    }
    return sum;
  }

 private:
  struct Part {
    explicit Part(size_t people) : highest(people) {}
    Scores strangers;
    Scores ids;
    std::vector<int> highest;  // of one person with each other
    bool reports = false;
  };

  // What a thread compares before it looks whether it should stop.
  static constexpr size_t kShare = 256;

  static bool HaveOneId(const GalleryEntry& a, const GalleryEntry& b) {
    return a.id == b.id;
  }
  static bool AreOfOneFinger(const GalleryEntry& a, const GalleryEntry& b) {
    return HaveOneId(a, b) && a.finger == b.finger;
  }

  // The gallery has checked its records, so there is no other result.
  int Score(size_t probe, size_t record) const {
    const std::string& first = entries_[probe].record;
    const std::string& second = entries_[record].record;
    return std::max(0, mv_compare(first.data(), first.size(), second.data(),
                                  second.size()));
  }

  // What every thread does. Those late in the order take longest: they first.
  void Help(Part* part) noexcept {
    for (size_t taken = next_++; taken < people_.size(); taken = next_++) {
      if (!CompareWithEarlier(people_.size() - 1 - taken, part)) return;
    }
  }

  // One probe with everybody, since it stays prepared. False when stopped.
  bool CompareWithEarlier(size_t person, Part* part) {
    const Range mine = people_[person];
    std::fill_n(part->highest.begin(), person, 0);
    for (size_t probe = mine.begin; probe < mine.end; ++probe) {
      size_t compared = 0;
      for (size_t other = 0; other < person; ++other) {
        int& highest = part->highest[other];
        for (size_t i = people_[other].begin; i < people_[other].end; ++i) {
          const int score = Score(probe, i);
          part->strangers.Add(score);
          highest = std::max(highest, score);
          if (++compared % kShare == 0 && !GoesOn(kShare, *part)) return false;
        }
      }
      if (!GoesOn(compared % kShare, *part)) return false;
    }
    for (size_t other = 0; other < person; ++other) {
      part->ids.Add(part->highest[other]);
    }
    return true;
  }

  bool GoesOn(size_t compared, const Part& part) {
    done_ += compared;
    if (part.reports && !work_->GoesOn(done_)) stopped_ = true;
    return !stopped_;
  }

  Calibration CompareFingers(LongWork* work) const {
    Calibration genuine;
    for (const Range& finger : fingers_) {
      int lowest = MV_SCORE_MAX;
      for (size_t probe = finger.begin; probe < finger.end; ++probe) {
        for (size_t i = finger.begin; i < probe; ++i) {
          const int score = Score(probe, i);
          genuine.genuine.Add(score);
          lowest = std::min(lowest, score);
        }
        work->Done(done_);
      }
      if (finger.Size() > 1) genuine.fingers.Add(lowest);
    }
    return genuine;
  }

  const std::vector<GalleryEntry>& entries_;
  const std::vector<Range> people_;
  const std::vector<Range> fingers_;
  size_t total_ = 0;  // strangers' trials; the others are few
  std::optional<LongWork> work_;
  std::atomic<size_t> next_{0};
  std::atomic<size_t> done_{0};
  std::atomic<bool> stopped_{false};
};

}  // namespace

void Scores::Add(const Scores& other) {
  std::transform(times_.begin(), times_.end(), other.times_.begin(),
                 times_.begin(), std::plus<>());
}

uint64_t Scores::NotAbove(int score) const {
  return std::accumulate(times_.begin(), times_.begin() + score + 1,
                         uint64_t{0});
}

Calibration Calibrate(const std::vector<GalleryEntry>& entries) {
  return Trials(entries).Run();
}

Rate RateOf(uint64_t errors, uint64_t trials) {
  constexpr double kSquare = 1.959964 * 1.959964;  // of the normal quantile
  if (trials == 0) {
    const double none = std::numeric_limits<double>::quiet_NaN();
    return {none, none, none};
  }
  const auto n = static_cast<double>(trials);
  const auto k = static_cast<double>(errors);
  const double centre = k + kSquare / 2;
  const double reach = std::sqrt(kSquare * (k * (n - k) / n + kSquare / 4));
  const double low = errors == 0 ? 0 : (centre - reach) / (n + kSquare);
  const double high = errors == trials ? 1 : (centre + reach) / (n + kSquare);
  return {k / n, low, high};
}

}  // namespace corvex::mvfp
