// Clock, sleep and thread id.
#ifndef SRC_MV_BASE_CLOCK_H_
#define SRC_MV_BASE_CLOCK_H_

#include <cstdint>

// The kernel's id of the calling thread.
int64_t cx_gettid();

// Milliseconds of the monotonic clock; never goes backwards.
int64_t get_ms_tick();

// Waits. A signal handler ends the wait early, and it is not resumed: every
// caller polls.
void MvSleep(uint32_t ms);

#endif  // SRC_MV_BASE_CLOCK_H_
