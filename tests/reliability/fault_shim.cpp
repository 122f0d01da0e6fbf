#include "reliability/fault_shim.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/select.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

struct State {
  bool inside;
  int calls;  // of the function that fails
  Fault fault;
  void (*settle)(void*);
  void* context;
  ShimReport report;
};
thread_local State g_shim;

bool Fails(Shimmed function) {
  if (!g_shim.inside || function != g_shim.fault.function) return false;
  if (++g_shim.calls != g_shim.fault.nth) return false;
  g_shim.report.failed = true;
  if (g_shim.fault.error != kShort) errno = g_shim.fault.error;
  return true;
}

template <typename Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int PassTime(const timeval* time) {
  g_shim.report.waited_ms += time->tv_sec * 1000 + time->tv_usec / 1000;
  return 0;
}

[[maybe_unused]] void* Counted(void* block) {
  if (block != nullptr && g_shim.inside) ++g_shim.report.memory_left;
  return block;
}

}  // namespace

void EnterShim(const Fault& fault, void (*settle)(void*), void* context) {
  g_shim = {true, 0, fault, settle, context, {}};
}

ShimReport LeaveShim() {
  g_shim.inside = false;
  return g_shim.report;
}

#pragma GCC visibility push(default)

int open(const char* path, int flags, ...) {
  static const auto real = Next<decltype(open)>("open");
  if (Fails(Shimmed::kOpen)) return -1;
  if ((flags & O_CLOEXEC) == 0) g_shim.report.opens_for_children = true;
  va_list mode;
  va_start(mode, flags);
  const int file = real(path, flags, va_arg(mode, mode_t));
  va_end(mode);
  return file;
}

ssize_t read(int fd, void* buffer, size_t size) {
  static const auto real = Next<decltype(read)>("read");
  if (!Fails(Shimmed::kRead)) return real(fd, buffer, size);
  return g_shim.fault.error == kShort ? 0 : -1;
}

ssize_t write(int fd, const void* data, size_t size) {
  static const auto real = Next<decltype(write)>("write");
  if (!Fails(Shimmed::kWrite)) return real(fd, data, size);
  return g_shim.fault.error == kShort ? real(fd, data, size / 2) : -1;
}

int select(int count, fd_set* in, fd_set* out, fd_set* other, timeval* wait) {
  static const auto real = Next<decltype(select)>("select");
  if (Fails(Shimmed::kSelect)) return -1;
  if (g_shim.inside && in == nullptr) return PassTime(wait);
  if (!g_shim.inside || g_shim.settle == nullptr) {
    return real(count, in, out, other, wait);
  }
  const fd_set wanted = *in;
  // A little: the other side may itself wait for what it sent to be read.
  timeval little = {0, 2000};
  if (const int ready = real(count, in, out, other, &little)) return ready;
  g_shim.inside = false;
  g_shim.settle(g_shim.context);
  g_shim.inside = true;
  *in = wanted;
  const int ready = real(count, in, out, other, &little);
  return ready != 0 ? ready : PassTime(wait);
}

time_t time(time_t* out) noexcept {
  static const auto real = Next<decltype(time)>("time");
  const int64_t waited_ms = g_shim.inside ? g_shim.report.waited_ms : 0;
  const time_t now = real(nullptr) + waited_ms / 1000;
  if (out != nullptr) *out = now;
  return now;
}

void* shmat(int id, const void* address, int flags) noexcept {
  static const auto real = Next<decltype(shmat)>("shmat");
  if (Fails(Shimmed::kShmat)) return reinterpret_cast<void*>(-1);
  return real(id, address, flags);
}

FILE* popen(const char* command, const char* mode) {
  static const auto real = Next<decltype(popen)>("popen");
  return Fails(Shimmed::kPopen) ? nullptr : real(command, mode);
}

// A sanitizer has an allocator of its own.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// The C library's own, as its allocator exports them for this purpose.
extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);
extern "C" void* __libc_realloc(void* old, size_t size);
extern "C" void __libc_free(void* block);

void* malloc(size_t size) noexcept {
  return Fails(Shimmed::kMalloc) ? nullptr : Counted(__libc_malloc(size));
}

void* calloc(size_t count, size_t size) noexcept {
  if (Fails(Shimmed::kMalloc)) return nullptr;
  return Counted(__libc_calloc(count, size));
}

void* realloc(void* old, size_t size) noexcept {
  return old == nullptr ? malloc(size) : __libc_realloc(old, size);
}

void free(void* block) noexcept {
  if (block != nullptr && g_shim.inside) --g_shim.report.memory_left;
  __libc_free(block);
}

#endif
#pragma GCC visibility pop
