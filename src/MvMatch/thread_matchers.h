// The matchers of each thread: two instances, so that an enrolment never evicts
// what a comparison has cached, nor the other way round.
//
// A thread's matchers are made when it first needs them and wiped and freed
// when it ends, or when the driver is unloaded. Nothing but a pointer is kept
// in thread-local storage, and no C++ destructor runs at a thread's end: the
// one would be taken from every thread's stack, the other would keep the
// driver from being unloaded. A forked child keeps the forking thread's
// matchers only.
#ifndef SRC_MVMATCH_THREAD_MATCHERS_H_
#define SRC_MVMATCH_THREAD_MATCHERS_H_

#include <cstdint>

#include "MvMatch/finger_matcher.h"
#include "MvMatch/minutiae_record.h"

namespace corvex {

enum MatcherRole : int32_t {
  kComparisonMatcher = 0,
  kEnrolmentMatcher = 1,
  kMatcherRoles = 2,
};

constexpr int32_t kMaxThreadBytes = 512 * 1024;
static_assert(kMatcherRoles * sizeof(FingerMatcher) < kMaxThreadBytes,
              "what a thread may hold");

// The score, 0-100, by the calling thread's matcher for `role`. Without memory
// for one, threads take turns at a common matcher.
int32_t CompareInThread(MatcherRole role, const WorkingForm& first,
                        const WorkingForm& second);

}  // namespace corvex

#endif  // SRC_MVMATCH_THREAD_MATCHERS_H_
