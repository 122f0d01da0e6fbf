// A place where a driver is installed: a directory in the test's own /tmp with
// a copy of the driver's file and, beside it, whatever stands in for the
// algorithm library.
#ifndef TESTS_ALGORITHM_DOUBLE_DRIVER_SITE_H_
#define TESTS_ALGORITHM_DOUBLE_DRIVER_SITE_H_

#include <string>
#include <vector>

namespace support {

class DriverSite {
 public:
  explicit DriverSite(const std::string& driver_file,
                      const std::string& directory = "/tmp/site");
  ~DriverSite() { Unload(); }
  DriverSite(const DriverSite&) = delete;
  DriverSite& operator=(const DriverSite&) = delete;

  // A double of tests/algorithm_double, by the name of its target.
  void InstallDouble(const std::string& variant = "algorithm_double");
  void InstallFile(const std::string& content);
  void RemoveLibrary();
  void Script(const std::string& text);

  // One call a line, as the double writes them down.
  std::string Calls() const;
  int CountCalls(const std::string& entry_point) const;

  void Load();
  void Unload();
  bool IsMapped(const std::string& file) const;

  // Of the loaded driver, by its symbol.
  template <typename Symbol>
  Symbol* Get(const char* name) const {
    return reinterpret_cast<Symbol*>(Find(name));
  }

 private:
  void* Find(const char* name) const;

  const std::string driver_;
  const std::string library_;
  void* handle_ = nullptr;
};

// How often a text occurs.
int CountOf(const std::string& part, const std::string& text);

}  // namespace support

#endif  // TESTS_ALGORITHM_DOUBLE_DRIVER_SITE_H_
