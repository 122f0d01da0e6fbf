// A place where a driver is installed: a directory in the test's own /tmp with
// a copy of the driver's file and, beside it, whatever stands in for the
// algorithm library.
#ifndef TESTS_ALGORITHM_DOUBLE_DRIVER_SITE_H_
#define TESTS_ALGORITHM_DOUBLE_DRIVER_SITE_H_

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/temp_file.h"

namespace support {

// How often a text occurs.
inline int CountOf(const std::string& part, const std::string& text) {
  int count = 0;
  for (size_t at = text.find(part); at != std::string::npos;
       at = text.find(part, at + part.size())) {
    ++count;
  }
  return count;
}

class DriverSite {
 public:
  explicit DriverSite(const std::filesystem::path& driver_file,
                      const std::string& directory = "/tmp/site")
      : driver_(directory / driver_file.filename()),
        library_(directory + "/libAlgoOrva64.so") {
    std::filesystem::create_directories(directory);
    std::filesystem::copy_file(driver_file, driver_);
  }
  ~DriverSite() { Unload(); }
  DriverSite(const DriverSite&) = delete;
  DriverSite& operator=(const DriverSite&) = delete;

  // A double of tests/algorithm_double, by the name of its target. A new file
  // each time: overwriting one that is mapped would change it under the
  // process's feet.
  void InstallDouble(const std::string& variant = "algorithm_double") {
    RemoveLibrary();
    std::filesystem::copy_file(
        MV_ALGORITHM_DOUBLES + variant + "/libAlgoOrva64.so", library_);
  }
  void InstallFile(const std::string& content) {
    RemoveLibrary();
    WriteFile(library_, content);
  }
  void RemoveLibrary() { std::filesystem::remove(library_); }
  void Script(const std::string& text) {
    WriteFile(library_ + ".script", text);
  }

  // One call a line, as the double writes them down.
  std::string Calls() const { return ReadFile(library_ + ".calls"); }
  int CountCalls(const std::string& entry_point) const {
    return CountOf(entry_point, Calls());
  }

  void Load() {
    handle_ = dlopen(driver_.c_str(), RTLD_NOW);
    ASSERT_NE(nullptr, handle_) << dlerror();
  }
  void Unload() {
    if (handle_ != nullptr) dlclose(handle_);
    handle_ = nullptr;
  }
  bool IsMapped(const std::string& file) const {
    return CountOf(driver_.parent_path() / file, ReadFile("/proc/self/maps"));
  }

  // Of the loaded driver, by its symbol.
  template <typename Symbol>
  Symbol* Get(const char* name) const {
    void* const symbol = dlsym(handle_, name);
    EXPECT_NE(nullptr, symbol) << name;
    return reinterpret_cast<Symbol*>(symbol);
  }

 private:
  const std::filesystem::path driver_;
  const std::string library_;
  void* handle_ = nullptr;
};

}  // namespace support

#endif  // TESTS_ALGORITHM_DOUBLE_DRIVER_SITE_H_
