// A world of its own for a program that touches what a machine has once.
#ifndef TESTS_SUPPORT_OWN_WORLD_H_
#define TESTS_SUPPORT_OWN_WORLD_H_

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace support {

// Starts this program anew in in_own_world.sh's world, unless it is in one.
inline void EnterOwnWorld(char** argv) {
  if (getenv("MV_OWN_WORLD") != nullptr) return;
  static char script[] = MV_CHECKOUT_DIR "/tests/support/in_own_world.sh";
  std::vector<char*> command = {script};
  while (*argv != nullptr) command.push_back(*argv++);
  command.push_back(nullptr);
  setenv("MV_BUILD_DIR", MV_BUILD_DIR, 1);
  execv(script, command.data());
  perror(script);
  _exit(1);
}

}  // namespace support

#endif  // TESTS_SUPPORT_OWN_WORLD_H_
