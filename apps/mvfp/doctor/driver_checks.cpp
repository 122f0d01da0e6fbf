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

std::string LibraryOf(const Box& box) { return box.directory + "/" + kLibrary; }

// Only dual-feature records need it.
Finding CheckLibrary(const Box& box) {
  const std::string path = LibraryOf(box);
  const std::string copy =
      std::string("sudo cp ") + kLibrary + " " + box.directory + "/";
  if (access(path.c_str(), F_OK) != 0) {
    return {Level::kNote, "library",
            "no algorithm library beside the driver: dual-feature records "
            "give -98",
            copy};
  }
  const std::string trouble =
      Trouble(AskChild([&] { return LoadLibrary(path); }));
  if (trouble.empty()) return {Level::kOk, "library", path, ""};
  return {Level::kNote, "library", "dual-feature records give -98: " + trouble,
          copy};
}

}  // namespace

void CheckDriver(const Box& box, Findings* findings) {
  // A file that cannot be loaded at all is not found either; this says why.
  const std::string file = box.driver.empty() ? kDriverFile : box.driver;
  const Said said = AskChild([&] { return LoadFile(file); });
  const std::string trouble = Trouble(said);
  const std::string library = LibraryOf(box);
  // The driver loads it in turn.
  if ((said.ended || said.hung) && access(library.c_str(), F_OK) == 0) {
    findings->push_back(
        {Level::kProblem, "library",
         library + " keeps hosts from loading the driver: " + trouble,
         "sudo mv " + library + " " + library + ".off"});
    return;
  }
  if (trouble.empty()) {
    findings->push_back({Level::kOk, "driver", file, ""});
  } else {
    findings->push_back({Level::kProblem, "driver",
                         said.text.empty() ? file + ": " + trouble : trouble,
                         kReinstall});
  }
  if (!box.driver.empty()) findings->push_back(CheckLibrary(box));
}

}  // namespace corvex::mvfp::doctor
