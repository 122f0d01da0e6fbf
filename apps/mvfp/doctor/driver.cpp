#include "calls/driver.h"

#include <dlfcn.h>
#include <mv_fpi.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "doctor/checks.h"
#include "doctor/in_child.h"
#include "files.h"
#include "machine/processes.h"
#include "report.h"

namespace corvex::mvfp::doctor {
namespace {

constexpr char kLibrary[] = "libAlgoOrva64.so";

// The dynamic loader says which file it would take for this program, and runs
// none of it: "libmv_fpi.so.1 => /usr/lib/libmv_fpi.so.1 (0x...)".
std::string DriverFile() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  setenv("MVFP_PROGRAM", program.c_str(), 1);
  const std::vector<std::string> words =
      Words(OutputOf(std::string("LD_TRACE_LOADED_OBJECTS=1 LD_PRELOAD=") +
                     kDriverFile + " exec \"$MVFP_PROGRAM\""));
  const auto name = std::find(words.begin(), words.end(), kDriverFile);
  return words.end() - name > 2 && *(name + 1) == "=>" ? *(name + 2) : "";
}

std::string LibraryFile() {
  return std::filesystem::path(DriverFile()).replace_filename(kLibrary);
}

// Why dlopen, which the driver uses, does not take it.
std::string WhyNotLoaded(const std::string& path) {
  void* const library = dlopen(path.c_str(), RTLD_NOW);
  if (library == nullptr) return dlerror();
  return "it loads, but lacks an entry point or does not start; the day's log "
         "says which: mvfp log on";
}

}  // namespace

Finding TryDriver() {
  const Trial trial = InChild([] { return "=" + LoadedDriverFile(); });
  if (trial.ended && trial.text.rfind('=', 0) == 0) {
    return {kOk, "driver", trial.text.substr(1), ""};
  }
  const std::string library = LibraryFile();
  // The driver loads it in turn.
  if (!trial.ended && access(library.c_str(), F_OK) == 0) {
    return {
        kProblem, "library",
        "loading the driver " + trial.text + ", with " + library + " beside it",
        AsRoot("mv " + library + " " + library + ".off")};
  }
  return {kProblem, "driver",
          trial.ended ? trial.text : "loading the driver " + trial.text,
          AsRoot("apt-get install --reinstall ./libmv-fpi1_*.deb")};
}

Finding TryLibrary() {
  const Trial trial = InChild([] {
    constexpr char kDualFeature[] = "EoMCAAAA";
    return std::to_string(MVFP_DRIVER_CALL(FG_FpMatch)
                              .run(kDualFeature, kDualFeature, FG_LEVEL_SCORE));
  });
  const std::string path = LibraryFile();
  if (trial.ended && trial.text != std::to_string(FG_ERR_NO_LIBRARY)) {
    return {kOk, "library", path, ""};
  }
  const std::string copy =
      AsRoot("install -m 644 " + std::string(kLibrary) + " " + path);
  const std::string effect = "dual-feature records give -98: ";
  if (access(path.c_str(), F_OK) != 0) {
    return {kNote, "library", effect + "there is no " + path, copy};
  }
  if (!trial.ended) {
    return {kNote, "library", "comparing in " + path + " " + trial.text, copy};
  }
  const Trial why = InChild([&] { return WhyNotLoaded(path); });
  return {kNote, "library",
          effect + (why.ended ? why.text : "loading it " + why.text), copy};
}

}  // namespace corvex::mvfp::doctor
