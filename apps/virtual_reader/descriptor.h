#ifndef APPS_VIRTUAL_READER_DESCRIPTOR_H_
#define APPS_VIRTUAL_READER_DESCRIPTOR_H_

#include <unistd.h>

namespace corvex::vreader {

// Owns a file descriptor; a negative one means that there is none.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  ~Descriptor() { Reset(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Get() const { return fd_; }
  void Reset(int fd = -1) {
    if (fd_ >= 0) close(fd_);
    fd_ = fd;
  }

 private:
  int fd_;
};

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_DESCRIPTOR_H_
