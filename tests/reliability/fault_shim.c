#define _GNU_SOURCE
#include "reliability/fault_shim.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/select.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

/* The C library's own, as its allocator exports them for this purpose. */
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* old, size_t size);
void __libc_free(void* block);

struct state {
  bool inside;
  bool real_usleep;
  int32_t fail_at; /* 0: never */
  enum shim_function fail_in;
  int32_t error;
  void (*settle)(void*);
  void* context;
  shim_report_t report;
};

/* Not allocated on first use: the allocator itself looks at it. */
static __thread struct state g_state __attribute__((tls_model("initial-exec")));

static const char* const kNames[kShimFunctions] = {
    "open",   "fcntl", "isatty", "tcgetattr", "tcsetattr", "tcflush", "select",
    "read",   "write", "flock",  "malloc",    "fopen",     "dlopen",  "dlsym",
    "shmget", "shmat", "popen",  "system",    "getcwd",    "readlink"};

const char* shim_name(enum shim_function function) { return kNames[function]; }

void shim_enter(void (*settle)(void*), void* context) {
  memset(&g_state, 0, sizeof g_state);
  g_state.settle = settle;
  g_state.context = context;
  g_state.inside = true;
}

void shim_fail(enum shim_function function, int32_t nth, int32_t error) {
  g_state.fail_in = function;
  g_state.fail_at = nth;
  g_state.error = error;
}

void shim_sleep_for_processes(void) { g_state.real_usleep = true; }

shim_report_t shim_leave(void) {
  g_state.inside = false;
  return g_state.report;
}

/* Counts a call; true when it is the one that fails. */
static bool Fails(enum shim_function function) {
  struct state* const state = &g_state;
  if (!state->inside) return false;
  const int32_t nth = ++state->report.calls[function];
  if (function != state->fail_in || nth != state->fail_at) return false;
  state->report.failed = true;
  if (state->error != kShimShort) errno = state->error;
  return true;
}

static void Target(const char* text) {
  strncpy(g_state.report.target, text, sizeof g_state.report.target - 1);
}

static void TargetFile(int fd) {
  const int error = errno;
  char path[32];
  snprintf(path, sizeof path, "/proc/self/fd/%d", fd);
  char* const target = g_state.report.target;
  memset(target, 0, sizeof g_state.report.target);
  syscall(SYS_readlinkat, AT_FDCWD, path, target,
          sizeof g_state.report.target - 1);
  errno = error;
}

static bool FailsOn(enum shim_function function, const char* target) {
  if (!Fails(function)) return false;
  Target(target);
  return true;
}

static bool FailsOnFile(enum shim_function function, int fd) {
  if (!Fails(function)) return false;
  TargetFile(fd);
  return true;
}

static void* Next(const char* name) {
  static void* (*lookup)(void*, const char*);
  if (lookup == NULL) {
    *(void**)&lookup = dlvsym(RTLD_NEXT, "dlsym", "GLIBC_2.34");
  }
  return lookup(RTLD_NEXT, name);
}

/* Declares `real`, the function that this one stands in front of. */
#define REAL(function)                 \
  static __typeof__(&(function)) real; \
  if (real == NULL) *(void**)&real = Next(#function)

static void NoteExec(bool closes) {
  if (g_state.inside && !closes) ++g_state.report.kept_on_exec;
}

int open(const char* path, int flags, ...) {
  REAL(open);
  va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
  va_end(args);
  NoteExec((flags & O_CLOEXEC) != 0);
  return FailsOn(kShimOpen, path) ? -1 : real(path, flags, mode);
}

int fcntl(int fd, int command, ...) {
  REAL(fcntl);
  va_list args;
  va_start(args, command);
  void* const argument = va_arg(args, void*);
  va_end(args);
  return FailsOnFile(kShimFcntl, fd) ? -1 : real(fd, command, argument);
}

int isatty(int fd) {
  REAL(isatty);
  return FailsOnFile(kShimIsatty, fd) ? 0 : real(fd);
}

int tcgetattr(int fd, struct termios* settings) {
  REAL(tcgetattr);
  return FailsOnFile(kShimTcgetattr, fd) ? -1 : real(fd, settings);
}

int tcsetattr(int fd, int when, const struct termios* settings) {
  REAL(tcsetattr);
  if (!FailsOnFile(kShimTcsetattr, fd)) return real(fd, when, settings);
  if (when == TCSADRAIN) Target("restore");
  return -1;
}

int tcflush(int fd, int queue) {
  REAL(tcflush);
  return FailsOnFile(kShimTcflush, fd) ? -1 : real(fd, queue);
}

/* Lets the other side finish, with the shim out of the way. */
static void Settle(void) {
  g_state.inside = false;
  g_state.settle(g_state.context);
  g_state.inside = true;
}

static void PassTime(const struct timeval* time) {
  g_state.report.waited_ms += time->tv_sec * 1000 + time->tv_usec / 1000;
}

static int WaitForInput(int nfds, fd_set* set, struct timeval* timeout,
                        __typeof__(&select) real) {
  const fd_set wanted = *set;
  for (int round = 0; round < 2; ++round) {
    /* A little: the other side may itself wait for what it sent to be read. */
    struct timeval little = {0, round == 0 ? 2000 : 0};
    *set = wanted;
    const int ready = real(nfds, set, NULL, NULL, &little);
    if (ready != 0) return ready;
    if (round == 0) Settle();
  }
  PassTime(timeout);
  return 0;
}

int select(int nfds, fd_set* input, fd_set* output, fd_set* other,
           struct timeval* timeout) {
  REAL(select);
  if (!g_state.inside) return real(nfds, input, output, other, timeout);
  if (Fails(kShimSelect)) {
    if (input == NULL) {
      Target("pause");
    } else {
      TargetFile(nfds - 1);
    }
    return -1;
  }
  if (input == NULL) {
    PassTime(timeout);
    return 0;
  }
  if (g_state.settle == NULL) return real(nfds, input, output, other, timeout);
  return WaitForInput(nfds, input, timeout, real);
}

int usleep(useconds_t us) {
  REAL(usleep);
  if (!g_state.inside || g_state.real_usleep) return real(us);
  g_state.report.waited_ms += us / 1000;
  return 0;
}

int clock_gettime(clockid_t clock, struct timespec* now) {
  REAL(clock_gettime);
  const int result = real(clock, now);
  if (!g_state.inside || result != 0) return result;
  const int64_t ms = g_state.report.waited_ms;
  const int64_t ns = now->tv_nsec + ms % 1000 * 1000000;
  now->tv_sec += ms / 1000 + ns / 1000000000;
  now->tv_nsec = ns % 1000000000;
  return 0;
}

time_t time(time_t* out) {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  if (out != NULL) *out = now.tv_sec;
  return now.tv_sec;
}

ssize_t read(int fd, void* buffer, size_t size) {
  REAL(read);
  if (!FailsOnFile(kShimRead, fd)) return real(fd, buffer, size);
  return g_state.error == kShimShort ? 0 : -1;
}

ssize_t write(int fd, const void* data, size_t size) {
  REAL(write);
  if (!FailsOnFile(kShimWrite, fd)) return real(fd, data, size);
  return g_state.error == kShimShort ? real(fd, data, size / 2) : -1;
}

int flock(int fd, int operation) {
  REAL(flock);
  if (!FailsOnFile(kShimFlock, fd)) return real(fd, operation);
  if ((operation & LOCK_UN) != 0) Target("unlock");
  return -1;
}

/* The shared C++ runtime serves the test and its doubles, not the driver. */
static bool ServesOthers(const void* caller) {
  Dl_info object;
  return dladdr(caller, &object) != 0 &&
         strstr(object.dli_fname, "libstdc++") != NULL;
}

static bool DeniesMemory(const void* caller) {
  return Fails(kShimMalloc) && !ServesOthers(caller);
}

static void* Counted(void* block) {
  if (block != NULL && g_state.inside) ++g_state.report.allocations_left;
  return block;
}

void* malloc(size_t size) {
  if (DeniesMemory(__builtin_return_address(0))) return NULL;
  return Counted(__libc_malloc(size));
}

void* calloc(size_t count, size_t size) {
  if (DeniesMemory(__builtin_return_address(0))) return NULL;
  return Counted(__libc_calloc(count, size));
}

void* realloc(void* old, size_t size) {
  if (DeniesMemory(__builtin_return_address(0))) return NULL;
  void* const block = __libc_realloc(old, size);
  return old == NULL ? Counted(block) : block;
}

void free(void* block) {
  if (block != NULL && g_state.inside) --g_state.report.allocations_left;
  __libc_free(block);
}

FILE* fopen(const char* path, const char* mode) {
  REAL(fopen);
  NoteExec(strchr(mode, 'e') != NULL);
  return FailsOn(kShimFopen, path) ? NULL : real(path, mode);
}

/* These fail for a reason that dlerror can tell. */
void* dlopen(const char* path, int mode) {
  REAL(dlopen);
  const bool fails = path != NULL && FailsOn(kShimDlopen, path);
  return real(fails ? "/no/such/library" : path, mode);
}

void* dlsym(void* library, const char* name) {
  static void* (*real)(void*, const char*);
  if (real == NULL) *(void**)&real = Next("dlsym");
  return real(library, FailsOn(kShimDlsym, name) ? "no such symbol" : name);
}

int shmget(key_t key, size_t size, int flags) {
  REAL(shmget);
  return FailsOn(kShimShmget, "segment") ? -1 : real(key, size, flags);
}

void* shmat(int id, const void* address, int flags) {
  REAL(shmat);
  if (FailsOn(kShimShmat, "segment")) return (void*)-1;
  return real(id, address, flags);
}

FILE* popen(const char* command, const char* mode) {
  REAL(popen);
  NoteExec(strchr(mode, 'e') != NULL);
  return FailsOn(kShimPopen, command) ? NULL : real(command, mode);
}

int system(const char* command) {
  REAL(system);
  return FailsOn(kShimSystem, command) ? -1 : real(command);
}

char* getcwd(char* buffer, size_t size) {
  REAL(getcwd);
  return FailsOn(kShimGetcwd, "working directory") ? NULL : real(buffer, size);
}

ssize_t readlink(const char* path, char* buffer, size_t size) {
  REAL(readlink);
  return FailsOn(kShimReadlink, path) ? -1 : real(path, buffer, size);
}
