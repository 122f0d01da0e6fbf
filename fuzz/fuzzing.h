// What the fuzz targets share.
#ifndef FUZZ_FUZZING_H_
#define FUZZ_FUZZING_H_

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
  Input(const uint8_t* data, size_t size) : at_(data), left_(size) {}

  size_t Left() const { return left_; }
  bool Empty() const { return left_ == 0; }

  uint8_t Byte() {
    uint8_t byte = 0;
    Take(&byte, 1);
    return byte;
  }
  int32_t Int32() {
    int32_t value = 0;
    Take(&value, sizeof value);
    return value;
  }
  // What is there of that many bytes.
  size_t Take(void* out, size_t bytes) {
    const size_t taken = bytes < left_ ? bytes : left_;
    if (taken > 0) std::memcpy(out, at_, taken);
    at_ += taken;
    left_ -= taken;
    return taken;
  }
  // Up to the next line end, which is left out.
  std::string Line() {
    const std::string_view rest(reinterpret_cast<const char*>(at_), left_);
    const size_t end = rest.find('\n');
    const std::string line(rest.substr(0, end));
    const size_t used = end == std::string_view::npos ? left_ : end + 1;
    at_ += used;
    left_ -= used;
    return line;
  }
  std::string Rest() {
    std::string rest(left_, '\0');
    Take(rest.data(), left_);
    return rest;
  }

 private:
  const uint8_t* at_;
  size_t left_;
};

}  // namespace fuzzing

#endif  // FUZZ_FUZZING_H_
