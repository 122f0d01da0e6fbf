// The library for records, through its exported calls.
#include <gtest/gtest.h>
#include <malloc.h>
#include <mv_match.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/memory_limit.h"
#include "support/tab_file.h"

namespace {

using support::Bytes;

struct Row {
  int score;
  Bytes first;
  Bytes second;
};

// As long as its count says.
Bytes Whole(const std::string& hex) {
  const Bytes bytes = support::FromHex(hex);
  return support::FromHex(hex, bytes.size() > 2 ? 3u + 5u * bytes[2] : 0);
}

// The golden pairs.
const std::vector<Row>& Golden() {
  static const std::vector<Row> kRows = [] {
    std::vector<Row> rows;
    for (const auto& row : support::ReadTestData("golden_match.tsv")) {
      rows.push_back({std::stoi(row[0]), Whole(row[2]), Whole(row[3])});
    }
    return rows;
  }();
  return kRows;
}

int Compare(const Bytes& first, const Bytes& second) {
  return mv_compare(first.data(), first.size(), second.data(), second.size());
}

TEST(Records, EveryGoldenPairHasItsScore) {
  int compared = 0;
  for (const Row& row : Golden()) {
    const int score = Compare(row.first, row.second);
    if (row.score >= 0) {
      EXPECT_EQ(row.score, score);
    } else {
      EXPECT_TRUE(score == MV_ERR_MALFORMED || score == MV_ERR_DUAL_FEATURE ||
                  score == MV_ERR_ENDS_EARLY)
          << score;
    }
    compared += score >= 0 ? 1 : 0;
  }
  EXPECT_GT(compared, 700);
}

struct Problem {
  const char* hex;
  int code;
  const char* text;
};

TEST(Records, WhatIsWrongIsSaidAndWhere) {
  const Problem problems[] = {
      {"120000", 0, ""},
      {"12000001", 0, ""},
      {"12000164C832640000", 0, ""},
      {"12", MV_ERR_ENDS_EARLY, "ends after 1 bytes, within its head of 3"},
      {"12000164C83264", MV_ERR_ENDS_EARLY,
       "ends after 7 bytes; its 1 minutiae take 8"},
      {"130000", MV_ERR_MALFORMED,
       "byte 0 is 0x13 instead of the format tag 0x12"},
      {"120033", MV_ERR_MALFORMED,
       "byte 2 announces 51 minutiae of at most 50"},
      {"12000264C8326400"
       "64C8686500",
       MV_ERR_MALFORMED,
       "minutia 1 at byte 8: direction 360 of at most 359, weight 50 of at "
       "most "
       "100, auxiliary value 0 of at most 100"},
      {"128300", MV_ERR_DUAL_FEATURE,
       "a dual-feature record (byte 1 is 0x83), which only the algorithm "
       "library compares"},
  };
  for (const Problem& p : problems) {
    const Bytes record = support::FromHex(p.hex);
    char text[MV_PROBLEM_BYTES] = "?";
    EXPECT_EQ(p.code, mv_check_record(record.data(), record.size(), text));
    EXPECT_STREQ(p.text, text) << p.hex;
  }
  EXPECT_EQ(MV_ERR_ARGUMENT, mv_check_record(nullptr, 3, nullptr));
}

TEST(Records, TextsAreThereAndBack) {
  const Bytes& record = Golden()[0].first;
  char text[MV_RECORD_TEXT_BYTES];
  const int length =
      mv_record_to_text(record.data(), record.size(), text, sizeof text);
  ASSERT_GT(length, 0);
  EXPECT_EQ(MV_ERR_NO_ROOM,
            mv_record_to_text(record.data(), record.size(), text,
                              static_cast<size_t>(length)));
  Bytes back(MV_RECORD_BYTES);
  const int bytes = mv_record_from_text(text, static_cast<size_t>(length),
                                        back.data(), nullptr);
  back.resize(static_cast<size_t>(std::max(bytes, 0)));
  EXPECT_EQ(record, back);
  EXPECT_EQ(Compare(record, record), mv_compare_text(text, text));
  const std::string endless = "EgAA" + std::string(1 << 20, 'A');
  EXPECT_EQ(0, mv_compare_text(endless.c_str(), text));
  EXPECT_EQ(MV_ERR_ARGUMENT, mv_compare_text(text, nullptr));
  EXPECT_EQ(MV_ERR_ARGUMENT,
            mv_record_from_text(nullptr, 4, back.data(), nullptr));
  text[16] = '\n';  // as mail wraps it
  EXPECT_EQ(MV_ERR_ENDS_EARLY, mv_compare_text(text, text));
}

TEST(Records, LevelsFollowTheirThresholds) {
  for (int level = 1; level <= 5; ++level) {
    EXPECT_EQ(level - 1, mv_level(mv_threshold(level)));
    EXPECT_LE(level, mv_level(mv_threshold(level) + 1));
  }
  EXPECT_EQ(36, mv_threshold(3));
  EXPECT_EQ(5, mv_level(100));
  EXPECT_EQ(MV_ERR_ARGUMENT, mv_threshold(6));
}

TEST(Records, TheTemplateIsChosenAsTheDriverChoosesIt) {
  int chosen_ones = 0;
  for (const auto& row : support::ReadTestData("golden_synth.tsv")) {
    if (row[0] == "-110") continue;
    std::vector<Bytes> captures;
    std::vector<const void*> records;
    std::vector<size_t> bytes;
    for (const auto& hex : support::Split(row[3], ' ')) {
      captures.push_back(Whole(hex));
    }
    for (const Bytes& capture : captures) {
      records.push_back(capture.data());
      bytes.push_back(capture.size());
    }
    size_t chosen = 99;
    EXPECT_EQ(std::stoi(row[0]),
              mv_choose_template(records.data(), bytes.data(), records.size(),
                                 &chosen));
    EXPECT_EQ(std::stoul(row[1]), chosen);
    ++chosen_ones;
  }
  EXPECT_GT(chosen_ones, 200);
  const Bytes& record = Golden()[0].first;
  const std::vector<const void*> eleven(11, record.data());
  const std::vector<size_t> bytes(11, record.size());
  size_t chosen = 99;
  EXPECT_EQ(MV_ERR_ARGUMENT,
            mv_choose_template(eleven.data(), bytes.data(), 11, &chosen));
}

class GalleryTest : public testing::Test {
 protected:
  // Golden records under few ids, so that each has several.
  void Fill(size_t count, int64_t ids) {
    for (size_t i = 0; i < count; ++i) {
      const Row& row = Golden()[i % Golden().size()];
      if (row.score < 0) continue;
      const auto id = static_cast<int64_t>(i) % ids;
      ASSERT_EQ(0, mv_gallery_add(gallery_.get(), id, static_cast<int32_t>(i),
                                  row.second.data(), row.second.size()));
      added_.push_back({id, static_cast<int32_t>(i), 0});
    }
  }

  std::vector<mv_hit> Search(const Bytes& probe, size_t room,
                             const mv_search_options& options) {
    std::vector<mv_hit> hits(room + 1);  // never null
    found_ = mv_gallery_search(gallery_.get(), probe.data(), probe.size(),
                               &options, hits.data(), room);
    hits.resize(static_cast<size_t>(std::max<int64_t>(found_, 0)));
    return hits;
  }

  // What comparing one by one gives.
  std::vector<mv_hit> Expected(const Bytes& probe, size_t room, int least) {
    std::map<int64_t, mv_hit> best;
    for (mv_hit hit : added_) {
      const size_t i = static_cast<size_t>(hit.finger) % Golden().size();
      hit.score = Compare(probe, Golden()[i].second);
      if (hit.score < least) continue;
      const auto known = best.emplace(hit.id, hit).first;
      if (hit.score > known->second.score) known->second = hit;
    }
    std::vector<mv_hit> hits;
    for (const auto& entry : best) hits.push_back(entry.second);
    std::stable_sort(
        hits.begin(), hits.end(),
        [](const mv_hit& a, const mv_hit& b) { return a.score > b.score; });
    hits.resize(std::min(room, hits.size()));
    return hits;
  }

  struct Free {
    void operator()(mv_gallery* gallery) const { mv_gallery_free(gallery); }
  };
  std::unique_ptr<mv_gallery, Free> gallery_{mv_gallery_new()};
  std::vector<mv_hit> added_;
  int64_t found_ = 0;
};

void ExpectSame(const std::vector<mv_hit>& a, const std::vector<mv_hit>& b) {
  ASSERT_EQ(a.size(), b.size());
  for (size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(a[i].id, b[i].id);
    EXPECT_EQ(a[i].score, b[i].score);
    EXPECT_EQ(a[i].finger, b[i].finger);
  }
}

TEST_F(GalleryTest, ASearchFindsWhatComparingOneByOneFinds) {
  Fill(1100, 300);
  struct {
    size_t probe, room;
    int threads, least_score;
  } const searches[] = {
      {0, 1, 1, 0}, {40, 10000, 3, 0}, {333, 5, 0, 20}, {520, 10000, 1, 20}};
  for (const auto& search : searches) {
    mv_search_options options = {};
    options.threads = search.threads;
    options.least_score = search.least_score;
    const Bytes& record = Golden()[search.probe].first;
    ExpectSame(Expected(record, search.room, options.least_score),
               Search(record, search.room, options));
  }
  mv_search_options strict = {};
  strict.level = 5;
  const auto on_the_threshold =
      std::find_if(Golden().begin(), Golden().end(),
                   [](const Row& row) { return row.score == 45; });
  const Bytes& probe = on_the_threshold->first;
  ExpectSame(Expected(probe, 99, 46), Search(probe, 99, strict));
  strict.threads = 1;
  const size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
  for (int i = 0; i < 20; ++i) Search(probe, 99, strict);
  EXPECT_LT(mallinfo2().uordblks + mallinfo2().hblkhd, before + (1 << 20));
}

TEST_F(GalleryTest, AnIdIsRemovedWithAllItsRecords) {
  Fill(1500, 3);
  const size_t all = mv_gallery_count(gallery_.get());
  const auto mine = std::count_if(added_.begin(), added_.end(),
                                  [](const mv_hit& a) { return a.id == 1; });
  EXPECT_EQ(mine, mv_gallery_remove(gallery_.get(), 1));
  EXPECT_EQ(all - static_cast<size_t>(mine), mv_gallery_count(gallery_.get()));
  EXPECT_EQ(MV_ERR_NO_SUCH_ID, mv_gallery_remove(gallery_.get(), 1));
  const auto hits = Search(Golden()[0].second, 5, {});
  ASSERT_EQ(2u, hits.size());
  EXPECT_EQ(2, hits[0].id + hits[1].id);
}

TEST_F(GalleryTest, EveryRefusalHasItsCodeAndChangesNothing) {
  const Bytes& good = Golden()[0].first;
  const Bytes cut(good.begin(), good.end() - 1);
  Search(good, 1, {});
  EXPECT_EQ(MV_ERR_EMPTY, found_);
  Fill(3, 3);
  EXPECT_EQ(MV_ERR_ENDS_EARLY,
            mv_gallery_add(gallery_.get(), 9, 9, cut.data(), cut.size()));
  EXPECT_EQ(3u, mv_gallery_count(gallery_.get()));
  Search(cut, 1, {});
  EXPECT_EQ(MV_ERR_ENDS_EARLY, found_);
  Search(good, 0, {});
  EXPECT_EQ(MV_ERR_NO_ROOM, found_);
  for (const mv_search_options& bad :
       {mv_search_options{101, 0, 0, nullptr, nullptr},
        mv_search_options{0, 6, 0, nullptr, nullptr},
        mv_search_options{0, 0, -1, nullptr, nullptr}}) {
    Search(good, 1, bad);
    EXPECT_EQ(MV_ERR_ARGUMENT, found_);
  }
}

TEST_F(GalleryTest, TheProgressCallStopsASearch) {
  Fill(2300, 2300);
  size_t calls = 0;
  mv_search_options options = {};
  options.user = &calls;
  options.threads = 2;
  options.progress = [](size_t done, size_t total, void* user) {
    EXPECT_LE(done, total);
    return ++*static_cast<size_t*>(user) == 2 ? 1 : 0;
  };
  Search(Golden()[0].first, 5, options);
  EXPECT_EQ(MV_ERR_STOPPED, found_);
  EXPECT_EQ(2u, calls);
}

TEST_F(GalleryTest, SearchesAndChangesGoTogether) {
  Fill(600, 600);
  std::atomic<bool> changed{false};
  std::vector<std::thread> searchers;
  for (int i = 0; i < 3; ++i) {
    searchers.emplace_back([&] {
      mv_hit hit;
      const Bytes& probe = Golden()[1].second;
      do {
        const int64_t found = mv_gallery_search(gallery_.get(), probe.data(),
                                                probe.size(), nullptr, &hit, 1);
        ASSERT_EQ(1, found);
        ASSERT_EQ(1, hit.id);
      } while (!changed);
    });
  }
  const Bytes& record = Golden()[0].second;
  for (int64_t id = 1000; id < 1040; ++id) {
    ASSERT_EQ(
        0, mv_gallery_add(gallery_.get(), id, 0, record.data(), record.size()));
    ASSERT_EQ(1, mv_gallery_remove(gallery_.get(), id));
  }
  changed = true;
  for (std::thread& searcher : searchers) searcher.join();
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(GalleryTest, WithoutMemoryNothingIsHalfAdded) {
  if (!support::MemoryHasLimits()) GTEST_SKIP() << "an emulator sets none";
  Fill(10, 10);
  rlimit usual{};
  getrlimit(RLIMIT_AS, &usual);
  rlimit tight = usual;
  tight.rlim_cur = 400u << 20;
  ASSERT_EQ(0, setrlimit(RLIMIT_AS, &tight));
  const Bytes& record = Golden()[0].second;
  int code = 0;
  for (int i = 0; code == 0 && i < 1600000; ++i) {
    code = mv_gallery_add(gallery_.get(), 77, 0, record.data(), record.size());
  }
  EXPECT_EQ(MV_ERR_MEMORY, code);
  while (malloc(1 << 16) != nullptr) {
  }
  Search(record, 1, {});
  EXPECT_EQ(MV_ERR_MEMORY, found_);  // rather than what a part of it has
  const size_t count = mv_gallery_count(gallery_.get());
  ASSERT_EQ(0, setrlimit(RLIMIT_AS, &usual));
  EXPECT_EQ(static_cast<int>(count) - 10,
            mv_gallery_remove(gallery_.get(), 77));
  EXPECT_EQ(1u, Search(record, 1, {}).size());
}
#endif

}  // namespace
