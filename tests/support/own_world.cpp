#include "support/own_world.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace support {

void EnterOwnWorld(char** argv) {
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
