#include "MvMatch/thread_matchers.h"

#include <pthread.h>
#include <string.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>

namespace corvex {
namespace {

struct ThreadBlock {
  ThreadBlock* previous;
  ThreadBlock* next;
  std::atomic<bool> busy;
  FingerMatcher* matcher[kMatcherRoles];
};

pthread_mutex_t g_registry_mutex = PTHREAD_MUTEX_INITIALIZER;
ThreadBlock* g_blocks = nullptr;  // of all threads
pthread_key_t g_key;
std::atomic<bool> g_has_key{false};
pthread_once_t g_fork_once = PTHREAD_ONCE_INIT;
bool g_fork_handled = false;

pthread_mutex_t g_common_mutex = PTHREAD_MUTEX_INITIALIZER;
FingerMatcher g_common_matcher;

class Lock {
 public:
  explicit Lock(pthread_mutex_t* mutex) : mutex_(mutex) {
    pthread_mutex_lock(mutex_);
  }
  ~Lock() { pthread_mutex_unlock(mutex_); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  pthread_mutex_t* const mutex_;
};

void WipeAndFree(void* memory, size_t size) {
  if (memory == nullptr) return;
  explicit_bzero(memory, size);
  free(memory);
}

// The registry's mutex is held, or nobody else is left.
void Discard(ThreadBlock* block) {
  (block->previous != nullptr ? block->previous->next : g_blocks) = block->next;
  if (block->next != nullptr) block->next->previous = block->previous;
  for (FingerMatcher* const matcher : block->matcher) {
    WipeAndFree(matcher, sizeof *matcher);
  }
  free(block);
}

extern "C" {

static void EndThread(void* block) {
  const Lock lock(&g_registry_mutex);
  Discard(static_cast<ThreadBlock*>(block));
}

// No other thread is inside while the process forks, so that the child finds
// both mutexes free and the common matcher whole.
static void BeforeFork() {
  pthread_mutex_lock(&g_common_mutex);
  pthread_mutex_lock(&g_registry_mutex);
}

static void AfterForkInParent() {
  pthread_mutex_unlock(&g_registry_mutex);
  pthread_mutex_unlock(&g_common_mutex);
}

// The other threads are gone, and nobody else would free what was theirs.
static void AfterForkInChild() {
  const ThreadBlock* const mine =
      g_has_key ? static_cast<ThreadBlock*>(pthread_getspecific(g_key))
                : nullptr;
  for (ThreadBlock* block = g_blocks; block != nullptr;) {
    ThreadBlock* const next = block->next;
    if (block != mine) Discard(block);
    block = next;
  }
  AfterForkInParent();
}

// Runs when the driver is unloaded, and when the process ends: other threads
// may then still be inside, and keep what they use.
__attribute__((destructor)) static void DiscardAll() {
  const Lock lock(&g_registry_mutex);
  if (!g_has_key.exchange(false)) return;
  pthread_key_delete(g_key);
  for (ThreadBlock* block = g_blocks; block != nullptr;) {
    ThreadBlock* const next = block->next;
    if (!block->busy) Discard(block);
    block = next;
  }
}

}  // extern "C"

void HandleForks() {
  g_fork_handled =
      pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild) == 0;
}

bool MakeKey() {
  // Before anybody takes the mutex: a child that is forked in between would
  // find it held for ever.
  pthread_once(&g_fork_once, HandleForks);
  if (!g_fork_handled) return false;
  const Lock lock(&g_registry_mutex);
  if (g_has_key) return true;
  if (pthread_key_create(&g_key, EndThread) != 0) return false;
  g_has_key = true;
  return true;
}

// Memory that is all zero is a block without matchers.
ThreadBlock* MakeBlock() {
  auto* const block = static_cast<ThreadBlock*>(calloc(1, sizeof(ThreadBlock)));
  if (block == nullptr) return nullptr;
  const Lock lock(&g_registry_mutex);
  if (pthread_setspecific(g_key, block) != 0) {
    free(block);
    return nullptr;
  }
  block->next = g_blocks;
  if (g_blocks != nullptr) g_blocks->previous = block;
  g_blocks = block;
  return block;
}

ThreadBlock* BlockOfThread() {
  if (!g_has_key && !MakeKey()) return nullptr;
  auto* const block = static_cast<ThreadBlock*>(pthread_getspecific(g_key));
  return block != nullptr ? block : MakeBlock();
}

static_assert(alignof(FingerMatcher) <= alignof(std::max_align_t),
              "what calloc gives");

// All zero is a matcher that has seen two empty prints.
FingerMatcher* MatcherOf(ThreadBlock* block, MatcherRole role) {
  FingerMatcher*& matcher = block->matcher[role];
  if (matcher == nullptr) {
    matcher = static_cast<FingerMatcher*>(calloc(1, sizeof *matcher));
  }
  return matcher;
}

int32_t CompareInTurn(const WorkingForm& first, const WorkingForm& second) {
  const Lock lock(&g_common_mutex);
  const int32_t score = g_common_matcher.Compare(first, second);
  explicit_bzero(static_cast<void*>(&g_common_matcher),
                 sizeof g_common_matcher);
  return score;
}

}  // namespace

int32_t CompareInThread(MatcherRole role, const WorkingForm& first,
                        const WorkingForm& second) {
  ThreadBlock* const block = BlockOfThread();
  if (block == nullptr) return CompareInTurn(first, second);
  block->busy = true;
  FingerMatcher* const matcher = MatcherOf(block, role);
  const int32_t score = matcher != nullptr ? matcher->Compare(first, second)
                                           : CompareInTurn(first, second);
  block->busy = false;
  return score;
}

}  // namespace corvex
