/* A layer between a program and the C library: on a thread that asks for it,
 * the n-th call of a chosen function fails, and waiting takes no time.
 *
 * It comes before the C library when it is linked, or named in LD_PRELOAD.
 * Threads that never enter it are not touched: a virtual reader may run beside
 * the thread under test. */
#ifndef TESTS_RELIABILITY_FAULT_SHIM_H_
#define TESTS_RELIABILITY_FAULT_SHIM_H_

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum shim_function {
  kShimOpen,
  kShimFcntl,
  kShimIsatty,
  kShimTcgetattr,
  kShimTcsetattr,
  kShimTcflush,
  kShimSelect,
  kShimRead,
  kShimWrite,
  kShimFlock,
  kShimMalloc, /* calloc and realloc too */
  kShimFopen,
  kShimDlopen,
  kShimDlsym,
  kShimShmget,
  kShimShmat,
  kShimPopen,
  kShimSystem,
  kShimGetcwd,
  kShimReadlink,
  kShimFunctions
};

/* For errno; or that a read ends early and a write takes half. */
enum { kShimShort = -1 };

typedef struct {
  int32_t calls[kShimFunctions];
  int32_t allocations_left; /* made less freed */
  int32_t kept_on_exec;     /* opened so that a started program has it too */
  int64_t waited_ms;        /* by the test clock, in no time */
  bool failed;              /* the chosen call was reached */
  char target[128];         /* what it was about: a path, a name */
} shim_report_t;

/* From now on this thread waits in no time. Before a wait for input is given
 * up, `settle` lets the other side finish; without it such waits are real. */
void shim_enter(void (*settle)(void*), void* context);

/* The n-th call, from 1, of that function fails with that error. */
void shim_fail(enum shim_function function, int32_t nth, int32_t error);

/* usleep, which waits for other processes, sleeps in earnest. */
void shim_sleep_for_processes(void);

shim_report_t shim_leave(void);

const char* shim_name(enum shim_function function);

#ifdef __cplusplus
}
#endif

#endif /* TESTS_RELIABILITY_FAULT_SHIM_H_ */
