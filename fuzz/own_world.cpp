// Before anything runs: namespaces of its own for a fuzzer that takes the
// driver's lock or its shared segment, which are the whole machine's. Its /tmp
// is empty: corpora lie elsewhere.
#include <sched.h>

#include <cstdio>
#include <cstdlib>

#include "support/namespaces.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  if (support::EnterNamespaces(CLONE_NEWNS | CLONE_NEWIPC) &&
      support::MountOwnTmp()) {
    return 0;
  }
  perror("this machine gives no private namespaces");
  exit(1);
}
