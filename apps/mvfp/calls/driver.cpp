#include "calls/driver.h"

#include <dlfcn.h>

#include <filesystem>
#include <string>

#include "report.h"

namespace corvex::mvfp {
namespace {

Failure Unloadable(const std::string& why) {
  return {"cannot load the driver: " + why, "see what is wrong: mvfp doctor"};
}

void* LoadDriver() {
  void* driver = dlopen(kDriverFile, RTLD_NOW);
  if (driver != nullptr) return driver;
  const std::string why = dlerror();
  // Beside this program, as in a build tree: a sanitizer that stands between
  // hides from the loader where the program lies.
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  driver = dlopen((program.parent_path() / kDriverFile).c_str(), RTLD_NOW);
  if (driver == nullptr) throw Unloadable(why);
  return driver;
}

}  // namespace

void* FindInDriver(const char* name) {
  static void* const driver = LoadDriver();
  void* const found = dlsym(driver, name);
  if (found == nullptr) throw Unloadable(dlerror());
  return found;
}

std::string LoadedDriverFile() {
  Dl_info file{};
  const bool is_known = dladdr(FindInDriver("FG_GetDevVersion"), &file) != 0;
  return is_known ? file.dli_fname : kDriverFile;
}

std::string DriverVersion() {
  std::error_code error;
  const auto path = std::filesystem::canonical(LoadedDriverFile(), error);
  return error ? kDriverFile : path.filename().string();
}

}  // namespace corvex::mvfp
