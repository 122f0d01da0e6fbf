// What the fuzz targets share.
#ifndef FUZZ_FUZZING_H_
#define FUZZ_FUZZING_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace fuzzing {

// Ends the run: libFuzzer keeps the input.
#define MUST(condition)                                                    \
  do {                                                                     \
    if (!(condition)) {                                                    \
      std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                        \
    }                                                                      \
  } while (false)

// Takes an input apart from its front; gives zeros when nothing is left.
class Input {
 public:
  Input(const uint8_t* data, size_t size)
      : left_(reinterpret_cast<const char*>(data), size) {}

  bool Empty() const { return left_.empty(); }

  // What is there of that many bytes.
  void Take(void* out, size_t bytes) {
    left_.remove_prefix(left_.copy(static_cast<char*>(out), bytes));
  }
  template <typename Number>
  Number Take() {
    Number number = 0;
    Take(&number, sizeof number);
    return number;
  }
  // Up to the next line end, which is left out.
  std::string Line() {
    const std::string line(left_.substr(0, left_.find('\n')));
    left_.remove_prefix(std::min(line.size() + 1, left_.size()));
    return line;
  }
  std::string Rest() const { return std::string(left_); }

 private:
  std::string_view left_;
};

}  // namespace fuzzing

#endif  // FUZZ_FUZZING_H_
