// What the processor at hand can do.
#ifndef SRC_MVMATCH_PROCESSOR_H_
#define SRC_MVMATCH_PROCESSOR_H_

namespace corvex {

#if defined(__x86_64__)
inline bool HasAvx2() {
  return __builtin_cpu_supports("avx2") != 0 &&
         __builtin_cpu_supports("popcnt") != 0;
}

inline bool HasAvx512() {
  return HasAvx2() && __builtin_cpu_supports("avx512vl") != 0 &&
         __builtin_cpu_supports("avx512bw") != 0;
}
#endif

}  // namespace corvex

#endif  // SRC_MVMATCH_PROCESSOR_H_
