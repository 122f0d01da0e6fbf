// link-test: how well the line to a reader works.
#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "calls/queries.h"
#include "calls/result_codes.h"
#include "calls/wait_line.h"
#include "commands/commands.h"

namespace corvex::mvfp {
namespace {

constexpr Help kHelp = {
    "link-test", "Ask a reader many times and count what goes wrong",
    R"(Each query is a call of its own for the reader's version; its time includes the
driver's pause of 250 ms. Exit 0 says that every query was answered, 1 that some
were not. Ctrl-C ends the test and prints what it has.

Examples:
  mvfp link-test --port ttyUSB0
  mvfp link-test --port ttyUSB0 -n 200 --json
)"};

struct Options : DeviceOptions {
  int count = 20;
};

struct Results {
  std::vector<long> times_ms;         // of the answers
  std::map<std::string, int> errors;  // by kind
  int asked = 0;
};

long MedianOf(const std::vector<long>& sorted) {
  const size_t middle = sorted.size() / 2;
  return sorted.size() % 2 != 0 ? sorted[middle]
                                : (sorted[middle - 1] + sorted[middle]) / 2;
}

Json TimesOf(std::vector<long> times) {
  if (times.empty()) return nullptr;
  std::sort(times.begin(), times.end());
  return {{"min", times.front()},
          {"median", MedianOf(times)},
          {"max", times.back()}};
}

int Print(const Report& report, const Results& results) {
  const Json times = TimesOf(results.times_ms);
  std::ostringstream text;
  text << results.times_ms.size() << " of " << results.asked
       << " queries answered\n";
  if (!times.is_null()) {
    text << "time of a call: min " << times["min"] << " ms, median "
         << times["median"] << " ms, max " << times["max"] << " ms\n";
  }
  Json errors = Json::array();
  for (const auto& [kind, count] : results.errors) {
    text << count << " times: " << kind << "\n";
    errors.push_back({{"what", kind}, {"count", count}});
  }
  const bool all = !results.times_ms.empty() && results.errors.empty();
  return report.Result({{"asked", results.asked},
                        {"answered", results.times_ms.size()},
                        {"time_ms", times},
                        {"errors", errors}},
                       text.str(), all ? kExitOk : kExitNo);
}

void AskOnce(const Options& options, WaitLine* line, Results* results) {
  line->Show("query " + std::to_string(results->asked + 1) + " of " +
             std::to_string(options.count) + ", " +
             std::to_string(results->asked -
                            static_cast<int>(results->times_ms.size())) +
             " failed");
  const Reply reply = AskForText(kVersionQuery, options, ShowNothing);
  // Nothing was learnt about the line, and the next query would do no better.
  if (reply.rc == FG_ERR_PORT && reply.at_once && results->asked == 0) {
    throw CallFailure(kVersionQuery, reply, options);
  }
  ++results->asked;
  if (reply.rc == FG_OK) {
    results->times_ms.push_back(reply.elapsed_ms);
  } else {
    ++results->errors[CallFailure(kVersionQuery, reply, options).what];
  }
}

int LinkTest(const Report& report, const Options& options) {
  PortOf(options);  // refuses before anything is shown
  Results results;
  try {
    WaitLine line;
    while (results.asked < options.count) {
      AskOnce(options, &line, &results);
    }
  } catch (const Failure& failure) {
    if (failure.signal == 0 || results.asked == 0) throw;
    Print(report, results);
    EndBySignal(failure.signal);
  }
  return Print(report, results);
}

}  // namespace

void AddLinkTest(CommandLine* line) {
  const auto [arguments, options] = line->Add(kHelp, LinkTest);
  AddDeviceOptions(arguments, options);
  constexpr int kMost = 100000;
  arguments
      .Number("-n,--count", &options->count, 1, kMost, "How many queries [20]")
      .Named("N");
}

}  // namespace corvex::mvfp
