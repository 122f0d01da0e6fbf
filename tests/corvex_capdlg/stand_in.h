// A stand-in for the prompt window, for tests.
#ifndef TESTS_CORVEX_CAPDLG_STAND_IN_H_
#define TESTS_CORVEX_CAPDLG_STAND_IN_H_

#include <string>

namespace support {

// What the stand-in does: takes items until it is asked to close; takes them
// and stays; ends at once; obeys and, as the window does, ends with its block.
enum class StandIn { kObeys, kStubborn, kEndsAtOnce, kEndsWithBlock };

// Installs it as `directory`/cx_capdlg and returns that path.
std::string InstallStandIn(const std::string& directory, StandIn behaviour);

// The lines that the stand-ins have noted: "start <argument> <dialog type>
// <time-out>", "text <text>", "images <length> <length>", "quit".
std::string StandInNotes();

// Whether the notes come to hold that line.
bool StandInNoted(const std::string& line);

}  // namespace support

#endif  // TESTS_CORVEX_CAPDLG_STAND_IN_H_
