#include <dlfcn.h>
#include <unistd.h>

#include "doctor/checks.h"
#include "driver.h"

namespace corvex::mvfp::doctor {
namespace {

constexpr char kLibrary[] = "libAlgoOrva64.so";
constexpr const char* kEntryPoints[] = {
    "MvViewVersn", "MvViewDinit", "MvViewDexit", "MvViewMinut", "MvViewMatch",
    "MvViewImMut", "MvViewDetct", "MvChckMinut", "OrvSynMinut"};
constexpr char kReinstall[] = "sudo apt-get install --reinstall libmv-fpi1";

std::string LoadFile(const std::string& path) {
  void* const file = dlopen(path.c_str(), RTLD_NOW);
  return file != nullptr && dlclose(file) == 0 ? "" : dlerror();
}

// What is wrong with the library; "" when nothing is. It is not started: that
// is the driver's to do.
std::string LoadLibrary(const std::string& path) {
  void* const library = dlopen(path.c_str(), RTLD_NOW);
  if (library == nullptr) return dlerror();
  for (const char* name : kEntryPoints) {
    if (dlsym(library, name) == nullptr) {
      return std::string("it lacks ") + name;
    }
  }
  return "";
}

std::string Trouble(const Said& said) {
  if (said.hung) return "loading it takes for ever";
  return said.ended ? "loading it ends the process" : said.text;
}

// Of the algorithm library only dual-feature records know, unless it keeps the
// driver from being loaded.
void CheckLibrary(const Box& box, bool driver_loads, Findings* findings) {
  constexpr char kCheck[] = "library";
  const std::string path = box.directory + "/" + kLibrary;
  const std::string copy =
      std::string("sudo cp ") + kLibrary + " " + box.directory + "/";
  if (access(path.c_str(), F_OK) != 0) {
    findings->push_back({Level::kNote, kCheck,
                         "no algorithm library beside the driver: dual-feature "
                         "records give -98",
                         copy});
    return;
  }
  const std::string trouble =
      Trouble(AskChild([&] { return LoadLibrary(path); }));
  if (trouble.empty() && driver_loads) {
    findings->push_back({Level::kOk, kCheck, path, ""});
  } else if (driver_loads) {
    findings->push_back({Level::kNote, kCheck,
                         "dual-feature records give -98: " + trouble, copy});
  } else {
    findings->push_back(
        {Level::kProblem, kCheck,
         path + " keeps hosts from loading the driver: " +
             (trouble.empty() ? "its initialisation does not return" : trouble),
         "sudo mv " + path + " " + path + ".off"});
  }
}

}  // namespace

void CheckDriver(const Box& box, Findings* findings) {
  constexpr char kCheck[] = "driver";
  // A file that cannot be loaded at all is not found either; this says why.
  const std::string file = box.driver.empty() ? kDriverFile : box.driver;
  const Said said = AskChild([&] { return LoadFile(file); });
  const bool survives = !said.ended && !said.hung;
  const std::string trouble = Trouble(said);
  if (trouble.empty()) {
    findings->push_back({Level::kOk, kCheck, file, ""});
  } else {
    findings->push_back({Level::kProblem, kCheck,
                         survives ? trouble : file + ": " + trouble,
                         kReinstall});
  }
  if (!box.driver.empty()) CheckLibrary(box, survives, findings);
}

}  // namespace corvex::mvfp::doctor
