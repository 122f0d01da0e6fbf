// Before anything runs: a world of its own for a fuzzer that takes the driver's
// lock or its shared segment, which are the whole machine's. Its /tmp is empty:
// corpora lie elsewhere.
#include "support/own_world.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** argv) {
  support::EnterOwnWorld(*argv);
  return 0;
}
