// A layer between the driver and the C library: on a thread that has entered
// it, the n-th call of a chosen function fails, and pauses take no time. Other
// threads are not touched: a reader may run beside the thread under test.
#ifndef TESTS_RELIABILITY_FAULT_SHIM_H_
#define TESTS_RELIABILITY_FAULT_SHIM_H_

#include <cstdint>

enum class Shimmed { kOpen, kSelect, kRead, kWrite, kMalloc, kShmat, kPopen };

// In place of errno: a read ends early, a write takes half.
constexpr int kShort = -1;

struct Fault {
  Shimmed function = Shimmed::kOpen;
  int nth = 0;  // from 1; 0: nothing fails
  int error = 0;
};

struct ShimReport {
  bool failed = false;  // the chosen call was reached
  int memory_left = 0;  // blocks made less blocks freed
  int64_t waited_ms = 0;
  bool opens_for_children = false;  // a file that programs would inherit
};

// Before a wait for input is given up, at once, `settle` lets the other side
// finish; without it such waits are real.
void EnterShim(const Fault& fault, void (*settle)(void*), void* context);
ShimReport LeaveShim();

#endif  // TESTS_RELIABILITY_FAULT_SHIM_H_
