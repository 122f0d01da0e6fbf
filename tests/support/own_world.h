// A world of its own for a program that touches what a machine has once.
#ifndef TESTS_SUPPORT_OWN_WORLD_H_
#define TESTS_SUPPORT_OWN_WORLD_H_

namespace support {

// Starts this program anew in in_own_world.sh's world, unless it is in one.
void EnterOwnWorld(char** argv);

}  // namespace support

#endif  // TESTS_SUPPORT_OWN_WORLD_H_
