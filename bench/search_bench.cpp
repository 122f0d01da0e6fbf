// What a search among many costs. On real fingers when there are some, varied
// so that no two records are equal, else on made-up ones:
//
//   MV_REAL_DATA_DIR=... search_bench [records...]
#include <mv_match.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "real_fingers.h"

namespace {

using Record = std::vector<uint8_t>;

struct Free {
  void operator()(mv_gallery* gallery) const { mv_gallery_free(gallery); }
};
using Gallery = std::unique_ptr<mv_gallery, Free>;

// An impression that no press gave: every minutia a little aside.
Record Vary(Record record, std::mt19937* random) {
  const auto shift = [random](uint8_t coordinate) {
    const int moved = coordinate + static_cast<int>((*random)() % 7) - 3;
    return static_cast<uint8_t>(std::clamp(moved, 0, 255));
  };
  for (size_t i = 3; i + 5 <= record.size(); i += 5) {
    record[i] = shift(record[i]);
    record[i + 1] = shift(record[i + 1]);
  }
  return record;
}

void Fill(size_t count, std::mt19937* random, mv_gallery* gallery) {
  const std::vector<Record>& fingers = bench::Fingers();
  for (size_t i = mv_gallery_count(gallery); i < count; ++i) {
    const Record record = Vary(fingers[i % fingers.size()], random);
    if (mv_gallery_add(gallery, static_cast<int64_t>(i), 0, record.data(),
                       record.size()) != MV_OK) {
      std::fprintf(stderr, "cannot add record %zu\n", i);
      std::exit(1);
    }
  }
}

double Seconds() {
  return std::chrono::duration<double>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

double Search(const mv_gallery* gallery, const Record& probe, int threads) {
  mv_search_options options = {};
  options.level = 3;
  options.threads = threads;
  mv_hit hits[5];
  const double start = Seconds();
  const int64_t found =
      mv_gallery_search(gallery, probe.data(), probe.size(), &options, hits, 5);
  if (found < 0) {
    std::fprintf(stderr, "%s\n", mv_error_text(static_cast<int>(found)));
    std::exit(1);
  }
  return Seconds() - start;
}

// The same comparisons without a gallery, on the same kind of records.
double CompareOneByOne(size_t count, std::mt19937* random) {
  const std::vector<Record>& fingers = bench::Fingers();
  std::vector<Record> records;
  for (size_t i = 0; i < count; ++i) {
    records.push_back(Vary(fingers[i % fingers.size()], random));
  }
  const Record& probe = fingers[0];
  int64_t sum = 0;
  const double start = Seconds();
  for (const Record& record : records) {
    sum += mv_compare(probe.data(), probe.size(), record.data(), record.size());
  }
  const double seconds = Seconds() - start;
  if (sum < 0) std::exit(1);
  return seconds;
}

double ResidentMib() {
  long pages = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return static_cast<double>(resident * sysconf(_SC_PAGESIZE)) / (1 << 20);
}

void MeasureGrowth(const std::vector<size_t>& counts) {
  std::printf(
      "| records | us a record, one thread | all threads | resident MiB |\n"
      "|---|---|---|---|\n");
  std::mt19937 random(1);
  const Gallery gallery(mv_gallery_new());
  for (const size_t count : counts) {
    Fill(count, &random, gallery.get());
    const Record& probe = bench::Fingers()[0];
    const int rounds = count <= 10000 ? 9 : 1;
    std::vector<double> one;
    std::vector<double> all;
    for (int i = 0; i < rounds; ++i) {
      one.push_back(Search(gallery.get(), probe, 1));
      all.push_back(Search(gallery.get(), probe, 0));
    }
    const double scale = 1e6 / static_cast<double>(count);
    std::printf("| %zu | %.2f | %.2f | %.0f |\n", count,
                *std::min_element(one.begin(), one.end()) * scale,
                *std::min_element(all.begin(), all.end()) * scale,
                ResidentMib());
  }
}

void MeasureOverhead() {
  constexpr size_t kCount = 20000;
  std::mt19937 random(2);
  const Gallery gallery(mv_gallery_new());
  Fill(kCount, &random, gallery.get());
  std::vector<double> ratios;
  for (int i = 0; i < 9; ++i) {
    const double alone = CompareOneByOne(kCount, &random);
    ratios.push_back(Search(gallery.get(), bench::Fingers()[0], 1) / alone);
  }
  std::sort(ratios.begin(), ratios.end());
  std::printf("\nOne thread against its %zu comparisons: %.3f (%.3f to %.3f)\n",
              kCount, ratios[4], ratios.front(), ratios.back());
}

void MeasureLatency() {
  constexpr size_t kCount = 10000;
  constexpr size_t kSearches = 200;
  std::mt19937 random(3);
  const Gallery gallery(mv_gallery_new());
  Fill(kCount, &random, gallery.get());
  std::vector<double> times;
  for (size_t i = 0; i < kSearches; ++i) {
    const Record& probe = bench::Fingers()[i % bench::Fingers().size()];
    times.push_back(Search(gallery.get(), probe, 0));
  }
  std::sort(times.begin(), times.end());
  std::printf(
      "One search among %zu, all threads: median %.1f ms, 99th percentile "
      "%.1f ms\n",
      kCount, times[kSearches / 2] * 1e3, times[kSearches * 99 / 100] * 1e3);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<size_t> counts;
  for (int i = 1; i < argc; ++i) {
    counts.push_back(std::strtoul(argv[i], nullptr, 10));
  }
  if (counts.empty()) counts = {1000, 100000, 1000000};
  std::sort(counts.begin(), counts.end());
  if (counts.front() == 0) {
    std::fprintf(stderr, "usage: search_bench [records...]\n");
    return 2;
  }
  MeasureOverhead();
  MeasureLatency();
  MeasureGrowth(counts);
  return 0;
}
