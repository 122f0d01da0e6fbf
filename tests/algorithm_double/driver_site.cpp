#include "algorithm_double/driver_site.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/temp_file.h"

namespace support {

namespace fs = std::filesystem;

DriverSite::DriverSite(const std::string& driver_file,
                       const std::string& directory)
    : driver_(directory + "/" + fs::path(driver_file).filename().string()),
      library_(directory + "/libAlgoOrva64.so") {
  fs::create_directories(directory);
  fs::copy_file(driver_file, driver_);
}

// A new file each time: overwriting one that is mapped would change it under
// the process's feet.
void DriverSite::InstallDouble(const std::string& variant) {
  RemoveLibrary();
  fs::copy_file(
      std::string(MV_ALGORITHM_DOUBLES "/") + variant + "/libAlgoOrva64.so",
      library_);
}

void DriverSite::InstallFile(const std::string& content) {
  RemoveLibrary();
  WriteFile(library_, content);
}

void DriverSite::RemoveLibrary() { fs::remove(library_); }

void DriverSite::Script(const std::string& text) {
  WriteFile(library_ + ".script", text);
}

std::string DriverSite::Calls() const { return ReadFile(library_ + ".calls"); }

int DriverSite::CountCalls(const std::string& entry_point) const {
  return CountOf(entry_point, Calls());
}

void DriverSite::Load() {
  handle_ = dlopen(driver_.c_str(), RTLD_NOW);
  ASSERT_NE(nullptr, handle_) << dlerror();
}

void DriverSite::Unload() {
  if (handle_ != nullptr) dlclose(handle_);
  handle_ = nullptr;
}

bool DriverSite::IsMapped(const std::string& file) const {
  const std::string path = fs::path(driver_).parent_path() / file;
  return CountOf(path, ReadFile("/proc/self/maps")) > 0;
}

void* DriverSite::Find(const char* name) const {
  void* const symbol = dlsym(handle_, name);
  EXPECT_NE(nullptr, symbol) << name;
  return symbol;
}

int CountOf(const std::string& part, const std::string& text) {
  int count = 0;
  for (size_t at = text.find(part); at != std::string::npos;
       at = text.find(part, at + part.size())) {
    ++count;
  }
  return count;
}

}  // namespace support
