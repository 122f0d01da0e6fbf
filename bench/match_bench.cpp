// What a comparison costs, the plain form's included: ratios within one run are
// what counts. On real fingers when there are some, else on made-up ones:
//
//   MV_REAL_DATA_DIR=... match_bench    fvc_fingers.tsv in that directory
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "MvMatch/MvMatch.h"
#include "MvSynth/MvSynth.h"
#include "mv_base/base64.h"
#include "mv_base/crc32.h"
#include "mv_fpi.h"
#include "real_fingers.h"
#include "reference/plain_matcher.h"
#include "reference/record_generator.h"

namespace {

using bench::Fingers;
using reference::Record;

std::string Text(const Record& record) {
  std::string text(1024, '\0');
  const int32_t length = EncodeB64(text.data(), record.data(),
                                   static_cast<int32_t>(record.size()));
  text.resize(static_cast<size_t>(length));
  return text;
}

const std::vector<std::string>& Texts() {
  static const std::vector<std::string> texts = [] {
    std::vector<std::string> made;
    for (const Record& record : Fingers()) made.push_back(Text(record));
    return made;
  }();
  return texts;
}

// Each record in turn against all, in steps that visit every part of the set.
constexpr size_t kStride = 37;

// `compare` gets the index of the record that stays and of the one that moves.
template <typename Compare>
void AllAgainstAll(benchmark::State& state, Compare compare) {
  const size_t count = Fingers().size();
  size_t stays = static_cast<size_t>(state.thread_index()) * count / 2;
  size_t moves = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(compare(stays, moves));
    if (++moves == count) {
      moves = 0;
      stays += kStride;
    }
    if (stays >= count) stays -= count;
  }
  state.SetItemsProcessed(state.iterations());
}

int32_t Fast(size_t first, size_t second) {
  return MivoMatchFinger(Fingers()[first].data(), Fingers()[second].data());
}

int32_t Plain(size_t first, size_t second) {
  static corvex::plain::LimitsMet met;
  return corvex::plain::MivoMatchFinger(Fingers()[first].data(),
                                        Fingers()[second].data(), &met);
}

void FirstRepeatedPlain(benchmark::State& state) {
  AllAgainstAll(state, Plain);
}
void FirstRepeated(benchmark::State& state) { AllAgainstAll(state, Fast); }
// The record that stays takes turns with another, so that neither repeats.
template <typename Compare>
void BothChange(benchmark::State& state, Compare compare) {
  size_t turn = 0;
  AllAgainstAll(state, [&turn, compare](size_t a, size_t b) {
    return compare(b, (a + ++turn % 2) % Fingers().size());
  });
}
void BothNewPlain(benchmark::State& state) { BothChange(state, Plain); }
void BothNew(benchmark::State& state) { BothChange(state, Fast); }
void SecondRepeated(benchmark::State& state) {
  AllAgainstAll(state, [](size_t a, size_t b) { return Fast(b, a); });
}
void FromText(benchmark::State& state) {
  Texts();
  AllAgainstAll(state, [](size_t a, size_t b) {
    return FG_FpMatch(Texts()[a].c_str(), Texts()[b].c_str(), 3);
  });
}

void Synthesis(benchmark::State& state) {
  std::vector<uint8_t> slots(3 * corvex::kCaptureSlotBytes);
  AllAgainstAll(state, [&slots](size_t, size_t b) {
    for (size_t i = 0; i < 3; ++i) {
      const Record& record = Fingers()[(b + i) % Fingers().size()];
      std::copy(record.begin(), record.end(),
                &slots[i * corvex::kCaptureSlotBytes]);
    }
    return MivoSynthMinut(slots.data(), 3, nullptr, nullptr, nullptr);
  });
}
// The three comparisons of a synthesis, for its overhead.
void SynthesisComparisons(benchmark::State& state) {
  AllAgainstAll(state, [](size_t, size_t a) {
    const size_t b = (a + 1) % Fingers().size();
    const size_t c = (a + 2) % Fingers().size();
    return Fast(a, b) + Fast(a, c) + Fast(b, c);
  });
}

void Conversion(benchmark::State& state) {
  AllAgainstAll(state, [](size_t, size_t b) {
    corvex::WorkingForm working;
    const int32_t length = ConvertTransferFormat(&working, Fingers()[b].data());
    benchmark::DoNotOptimize(working);
    return length;
  });
}
void Base64Encoding(benchmark::State& state) {
  char text[1024];
  AllAgainstAll(state, [&text](size_t, size_t b) {
    const Record& record = Fingers()[b];
    return EncodeB64(text, record.data(), static_cast<int32_t>(record.size()));
  });
}
void Base64Decoding(benchmark::State& state) {
  uint8_t bytes[1024];
  Texts();
  AllAgainstAll(state, [&bytes](size_t, size_t b) {
    const std::string& text = Texts()[b];
    return DecodeB64(bytes, text.c_str(), static_cast<int32_t>(text.size()));
  });
}
void Crc32(benchmark::State& state) {
  AllAgainstAll(state, [](size_t, size_t b) {
    return GenerateCRC32(Fingers()[b].data(), Fingers()[b].size());
  });
}

BENCHMARK(FirstRepeatedPlain);
BENCHMARK(FirstRepeated);
BENCHMARK(FirstRepeated)->Threads(2)->UseRealTime();
BENCHMARK(BothNewPlain);
BENCHMARK(BothNew);
BENCHMARK(SecondRepeated);
BENCHMARK(FromText);
BENCHMARK(Synthesis);
BENCHMARK(SynthesisComparisons);
BENCHMARK(Conversion);
BENCHMARK(Base64Encoding);
BENCHMARK(Base64Decoding);
BENCHMARK(Crc32);

}  // namespace

BENCHMARK_MAIN();
