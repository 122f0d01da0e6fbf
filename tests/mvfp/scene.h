// Sets up the box that the tool looks at, in the test's own world.
#ifndef TESTS_MVFP_SCENE_H_
#define TESTS_MVFP_SCENE_H_

#include <sys/types.h>

#include <string>
#include <vector>

namespace support {

// Covers a directory by an empty one.
void Cover(const std::string& directory);

// Covers a file by one of another content.
void CoverFile(const std::string& path, const std::string& content);

// A program that comes first in PATH: a shell script.
void AddProgram(const std::string& name, const std::string& script);

// Runs for the rest of the test under the name, with the arguments.
pid_t StartProgram(const std::string& name,
                   const std::vector<std::string>& arguments = {});

// A serial port in a covered /sys, with its device at `path`.
void AddTty(const std::string& name, const std::string& path);

// From now on, the programs that this test starts may not do what their user
// may not.
void GiveUpRootsRights();

}  // namespace support

#endif  // TESTS_MVFP_SCENE_H_
