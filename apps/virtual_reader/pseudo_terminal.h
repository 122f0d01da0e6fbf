// The two ends of a pseudo-terminal: the reader holds the master, hosts open
// the slave by its name.
#ifndef APPS_VIRTUAL_READER_PSEUDO_TERMINAL_H_
#define APPS_VIRTUAL_READER_PSEUDO_TERMINAL_H_

#include <termios.h>
#include <unistd.h>

#include <string>

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

class PseudoTerminal {
 public:
  // Throws std::system_error when the machine gives none.
  PseudoTerminal();

  // The name below /dev, such as "pts/7".
  const std::string& Name() const { return name_; }
  int Master() const { return master_.Get(); }  // non-blocking; -1 after HangUp

  termios Settings() const;

  // Whether characters wait on the host's side.
  bool HostHasUnread() const;

  // As when the adapter is unplugged: descriptors that hosts hold read an end
  // of file and fail to write with EIO. A process that was forked off holds a
  // copy of the master and keeps the line alive.
  void HangUp() { master_.Reset(); }

 private:
  std::string name_;
  Descriptor master_;
  // Kept open, so that what is on the line survives a host's close, and so that
  // after a hang-up no other terminal of the machine gets the name.
  Descriptor slave_;
};

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_PSEUDO_TERMINAL_H_
