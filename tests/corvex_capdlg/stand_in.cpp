#include "corvex_capdlg/stand_in.h"

#include <filesystem>

#include "support/conditions.h"
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

}  // namespace support
