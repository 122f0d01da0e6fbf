// What the driver costs where no algorithm library is installed: the start of a
// process that loads it, against one that loads an empty shared object; and a
// comparison that needs the library, against two loads that fail.
//
//   driver_start [runs]
#include <dlfcn.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "mv_fpi.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kDefaultRuns = 500;
constexpr char kDualFeature[] = "EoMCAAAA";

struct Samples {
  std::vector<double> us;

  template <typename Work>
  void Time(Work work) {
    const Clock::time_point start = Clock::now();
    work();
    us.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start)
                     .count());
  }

  double Median() {
    std::sort(us.begin(), us.end());
    return us[us.size() / 2];
  }
};

void StartProcess(const char* object) {
  const char* const argv[] = {MV_LOAD_ONE, object, nullptr};
  pid_t pid = 0;
  int status = 1;
  if (posix_spawn(&pid, MV_LOAD_ONE, nullptr, nullptr, const_cast<char**>(argv),
                  environ) == 0) {
    waitpid(pid, &status, 0);
  }
  if (status != 0) exit(1);
}

// Turn by turn, so that a disturbance meets both alike.
void CompareStarts(int runs) {
  Samples empty;
  Samples driver;
  for (int i = 0; i < runs; ++i) {
    empty.Time([] { StartProcess(MV_EMPTY); });
    driver.Time([] { StartProcess(MV_DRIVER); });
  }
  const double with_empty = empty.Median();
  const double with_driver = driver.Median();
  printf(
      "process start, median of %d, us: empty %.0f, driver %.0f, more %.0f\n",
      runs, with_empty, with_driver, with_driver - with_empty);
}

void CompareCalls(const std::string& library, int runs) {
  void* const driver = dlopen(MV_DRIVER, RTLD_NOW);
  if (driver == nullptr) exit(1);
  const auto match =
      reinterpret_cast<decltype(&FG_FpMatch)>(dlsym(driver, "FG_FpMatch"));
  Samples call;
  Samples loads;
  for (int i = 0; i < runs; ++i) {
    call.Time([=] {
      if (match(kDualFeature, kDualFeature, 0) != FG_ERR_NO_LIBRARY) exit(1);
    });
    loads.Time([&] {
      for (int load = 0; load < 2; ++load) {
        if (dlopen(library.c_str(), RTLD_NOW) != nullptr) exit(1);
      }
    });
  }
  printf("comparison, median of %d, us: call %.1f, two failed loads %.1f\n",
         runs, call.Median(), loads.Median());
}

}  // namespace

int main(int argc, char** argv) {
  const int runs = argc > 1 ? atoi(argv[1]) : kDefaultRuns;
  const std::string driver = MV_DRIVER;
  const std::string library =
      driver.substr(0, driver.rfind('/')) + "/libAlgoOrva64.so";
  if (runs < 1 || access(library.c_str(), F_OK) == 0) {
    fprintf(stderr, "driver_start: no runs, or %s is there\n", library.c_str());
    return 2;
  }
  CompareStarts(runs);
  CompareCalls(library, runs);
  return 0;
}
