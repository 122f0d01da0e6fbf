// Erasing what a finger left in memory: records, templates and their texts are
// overwritten before their memory goes back to the process, where a core dump
// or another part of the host would find them.
#ifndef SRC_MV_BASE_WIPE_H_
#define SRC_MV_BASE_WIPE_H_

#include <string.h>

#include <cstddef>

namespace corvex {

// Zeros the memory; no compiler leaves it out because nothing reads it again.
inline void Wipe(void* memory, size_t bytes) { explicit_bzero(memory, bytes); }

// Wipes an object of the scope when the scope is left.
class WipeAtEnd {
 public:
  template <typename Object>
  explicit WipeAtEnd(Object* object)
      : memory_(object), bytes_(sizeof *object) {}
  ~WipeAtEnd() { Wipe(memory_, bytes_); }
  WipeAtEnd(const WipeAtEnd&) = delete;
  WipeAtEnd& operator=(const WipeAtEnd&) = delete;

 private:
  void* const memory_;
  const size_t bytes_;
};

}  // namespace corvex

#endif  // SRC_MV_BASE_WIPE_H_
