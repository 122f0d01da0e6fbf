// What a version query costs: the pause that the reader needs before its
// command, the characters' time on the line, and the rest, which is the
// driver's own (and the virtual reader's, a thread of this process).
#include <benchmark/benchmark.h>

#include <chrono>

#include "mv_fpi.h"
#include "virtual_reader/reply.h"
#include "virtual_reader/virtual_reader.h"

namespace {

using std::chrono::duration;
using std::chrono::milliseconds;

constexpr milliseconds kPause{250};
constexpr int kExchangeCharacters = 13 + 27;  // request and reply

void VersionQuery(benchmark::State& state) {
  corvex::vreader::Options options;
  options.baud = static_cast<int>(state.range(0));
  corvex::vreader::VirtualReader reader(options);
  const duration<double, std::milli> pause = kPause;
  const duration<double, std::milli> line =
      kExchangeCharacters * corvex::vreader::CharacterTime(options.baud);
  duration<double, std::milli> total{0};
  for (auto _ : state) {
    char version[16];
    const auto start = std::chrono::steady_clock::now();
    const int code =
        FG_GetDevVersion(reader.PortName().c_str(), "", 9600, version);
    total += std::chrono::steady_clock::now() - start;
    if (code != 0) state.SkipWithError("the query failed");
  }
  const auto queries = static_cast<double>(state.iterations());
  state.counters["pause_ms"] = pause.count();
  state.counters["line_ms"] = line.count();
  state.counters["rest_ms"] = (total / queries - pause - line).count();
}

// Fixed counts: most of a query is waiting.
BENCHMARK(VersionQuery)
    ->ArgName("baud")
    ->Arg(0)
    ->Arg(9600)
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
