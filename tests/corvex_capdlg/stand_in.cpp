#include "corvex_capdlg/stand_in.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "support/temp_file.h"

namespace support {

std::string InstallStandIn(const std::string& directory, StandIn behaviour) {
  namespace fs = std::filesystem;
  const fs::path path = fs::path(directory) / "cx_capdlg";
  fs::create_directories(directory);
  fs::copy_file(STAND_IN_PROGRAM, path, fs::copy_options::overwrite_existing);
  constexpr const char* kWords[] = {"obeys", "stubborn", "ends", "watches"};
  WriteFile("/tmp/stand_in_behaviour", kWords[static_cast<int>(behaviour)]);
  return path;
}

std::string StandInNotes() { return ReadFile("/tmp/stand_in_notes"); }

bool StandInNoted(const std::string& line) {
  return Eventually([&] {
    return ("\n" + StandInNotes()).find("\n" + line + "\n") !=
           std::string::npos;
  });
}

bool Eventually(const std::function<bool()>& condition) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::seconds(40);
  while (!condition()) {
    if (Clock::now() > deadline) return false;
    usleep(20000);  // most conditions start a program to look
  }
  return true;
}

}  // namespace support
