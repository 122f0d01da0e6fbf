#ifndef TESTS_SUPPORT_MEMORY_LIMIT_H_
#define TESTS_SUPPORT_MEMORY_LIMIT_H_

#include <sys/resource.h>

namespace support {

// Whether a process can limit its memory; an emulator takes the request and
// does nothing, and what then waits for memory to run out takes the machine's.
inline bool MemoryHasLimits() {
  rlimit usual{}, seen{};
  getrlimit(RLIMIT_AS, &usual);
  const rlimit wide = {rlim_t{1} << 40, usual.rlim_max};
  setrlimit(RLIMIT_AS, &wide);
  getrlimit(RLIMIT_AS, &seen);
  setrlimit(RLIMIT_AS, &usual);
  return seen.rlim_cur == wide.rlim_cur;
}

}  // namespace support

#endif  // TESTS_SUPPORT_MEMORY_LIMIT_H_
