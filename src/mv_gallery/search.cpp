#include "mv_gallery/search.h"

#include <sched.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "MvMatch/finger_matcher.h"
#include "MvMatch/thresholds.h"
#include "mv_base/wipe.h"
#include "mv_gallery/best_hits.h"

namespace corvex {
namespace {

// What a thread takes at a time: a millisecond or two.
constexpr size_t kShareEntries = 128;

size_t Processors() {
  cpu_set_t allowed;
  const bool known = sched_getaffinity(0, sizeof allowed, &allowed) == 0;
  return known ? static_cast<size_t>(std::max(1, CPU_COUNT(&allowed))) : 1;
}

struct WipeAndFree {
  void operator()(FingerMatcher* matcher) const {
    Wipe(static_cast<void*>(matcher), sizeof *matcher);
    free(matcher);
  }
};
using Matcher = std::unique_ptr<FingerMatcher, WipeAndFree>;

Matcher MakeMatcher() {
  // All zero is a matcher that has seen two empty prints.
  void* const memory = calloc(1, sizeof(FingerMatcher));
  if (memory == nullptr) throw std::bad_alloc();
  return Matcher(static_cast<FingerMatcher*>(memory));
}

int32_t LeastScore(const mv_search_options& options) {
  return options.level == 0 ? options.least_score
                            : std::max(options.least_score,
                                       kMatchThresholds[options.level] + 1);
}

class Search {
 public:
  Search(const EntryStore& entries, const WorkingForm& probe,
         const mv_search_options& options, size_t room)
      : entries_(entries),
        probe_(probe),
        options_(options),
        least_score_(LeastScore(options)),
        room_(std::min(room, entries.Count())) {}

  // May throw bad_alloc. MV_OK or MV_ERR_STOPPED, and the best hits.
  int32_t Run(BestHits* best) {
    std::vector<BestHits> found(CountThreads(), BestHits(room_));
    std::vector<std::thread> helpers;
    helpers.reserve(found.size() - 1);
    try {
      for (size_t i = 1; i < found.size(); ++i) {
        BestHits* const part = &found[i];
        helpers.emplace_back([this, part] { Help(part, /*reports=*/false); });
      }
    } catch (const std::exception&) {
      // Those that run do the work of those that could not be started.
    }
    Help(&found[0], /*reports=*/true);
    for (std::thread& helper : helpers) helper.join();
    if (failed_) throw std::bad_alloc();
    if (stopped_) return MV_ERR_STOPPED;
    for (const BestHits& part : found) best->Add(part);
    return MV_OK;
  }

 private:
  size_t CountThreads() const {
    const size_t wanted = options_.threads > 0
                              ? static_cast<size_t>(options_.threads)
                              : Processors();
    const size_t shares = (entries_.Count() - 1) / kShareEntries + 1;
    return std::min(wanted, shares);
  }

  // What every thread does. Another one's failure ends it early.
  void Help(BestHits* best, bool reports) noexcept {
    try {
      const Matcher matcher = MakeMatcher();
      while (!failed_ && !stopped_) {
        const size_t begin = next_.fetch_add(kShareEntries);
        if (begin >= entries_.Count()) break;
        const size_t end = std::min(begin + kShareEntries, entries_.Count());
        CompareShare(begin, end, matcher.get(), best);
        done_ += end - begin;
        if (reports) Report();
      }
    } catch (const std::bad_alloc&) {
      failed_ = true;
    }
  }

  void CompareShare(size_t begin, size_t end, FingerMatcher* matcher,
                    BestHits* best) const {
    WorkingForm candidate;
    const WipeAtEnd wipe(&candidate);
    for (size_t i = begin; i < end; ++i) {
      const Entry& entry = entries_[i];
      ConvertTransferFormat(&candidate, entry.record);
      const int32_t score = matcher->Compare(probe_, candidate, least_score_);
      if (score >= least_score_) best->Add({entry.id, entry.finger, score});
    }
  }

  void Report() {
    if (options_.progress == nullptr) return;
    if (options_.progress(done_, entries_.Count(), options_.user) != 0) {
      stopped_ = true;
    }
  }

  const EntryStore& entries_;
  const WorkingForm& probe_;
  const mv_search_options& options_;
  const int32_t least_score_;
  const size_t room_;
  std::atomic<size_t> next_{0};
  std::atomic<size_t> done_{0};
  std::atomic<bool> failed_{false};
  std::atomic<bool> stopped_{false};
};

}  // namespace

int64_t SearchEntries(const EntryStore& entries, const WorkingForm& probe,
                      const mv_search_options& options, mv_hit* hits,
                      size_t room) {
  try {
    BestHits best(std::min(room, entries.Count()));
    const int32_t code = Search(entries, probe, options, room).Run(&best);
    if (code < 0) return code;
    const std::vector<mv_hit>& sorted = best.Sorted();
    std::copy(sorted.begin(), sorted.end(), hits);
    return static_cast<int64_t>(sorted.size());
  } catch (const std::bad_alloc&) {
    return MV_ERR_MEMORY;
  }
}

}  // namespace corvex
