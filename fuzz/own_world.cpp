// Before anything runs: namespaces of its own, as the driver's lock and its
// shared segment are the whole machine's. /tmp is empty: corpora lie elsewhere.
#include <sched.h>

#include "fuzzing.h"
#include "support/namespaces.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  MUST(support::EnterNamespaces(CLONE_NEWNS | CLONE_NEWIPC) &&
       support::MountOwnTmp());
  return 0;
}
