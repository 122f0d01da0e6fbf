// A stand-in for the prompt window, for tests.
#ifndef TESTS_CORVEX_CAPDLG_STAND_IN_H_
#define TESTS_CORVEX_CAPDLG_STAND_IN_H_

#include <filesystem>
#include <string>

#include "support/conditions.h"
#include "support/temp_file.h"

namespace support {

// What the stand-in does: takes items until it is asked to close; takes them
// and stays; obeys and, as the window does, ends with its block.
enum class StandIn { kObeys, kStubborn, kEndsWithBlock };

// Installs it as `directory`/cx_capdlg and returns that path.
inline std::string InstallStandIn(const std::string& directory,
                                  StandIn behaviour) {
  constexpr const char* kWords[] = {"obeys", "stubborn", "watches"};
  std::filesystem::create_directories(directory);
  std::filesystem::copy_file(STAND_IN_PROGRAM, directory + "/cx_capdlg",
                             std::filesystem::copy_options::overwrite_existing);
  WriteFile("/tmp/stand_in_behaviour", kWords[static_cast<int>(behaviour)]);
  return directory + "/cx_capdlg";
}

// The lines that the stand-ins have noted: "start <argument> <dialog type>
// <time-out>", "text <text>", "images <length> <length>", "quit".
inline std::string StandInNotes() { return ReadFile("/tmp/stand_in_notes"); }

// Whether the notes come to hold that line.
inline bool StandInNoted(const std::string& line) {
  return Eventually([&] {
    return ("\n" + StandInNotes()).find("\n" + line + "\n") !=
           std::string::npos;
  });
}

}  // namespace support

#endif  // TESTS_CORVEX_CAPDLG_STAND_IN_H_
