// main() of every test program. The driver's lock, log and shared segment are
// machine-wide, so each test process has a world of its own: tests run side by
// side and never meet.
#include <gtest/gtest.h>

#include <cstring>

#include "support/own_world.h"

int main(int argc, char** argv) {
  // What the build asks, on machines that give no such world too.
  const bool only_lists =
      argc > 1 && strcmp(argv[1], "--gtest_list_tests") == 0;
  if (!only_lists) support::EnterOwnWorld(argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
