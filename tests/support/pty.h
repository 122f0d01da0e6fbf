// A bare pseudo-terminal: the test plays the other end of the line by hand.
#ifndef TESTS_SUPPORT_PTY_H_
#define TESTS_SUPPORT_PTY_H_

#include <termios.h>

#include <string>

namespace support {

class Pty {
 public:
  Pty();
  ~Pty();
  Pty(const Pty&) = delete;
  Pty& operator=(const Pty&) = delete;

  // The port's name below /dev, "pts/N".
  std::string Name() const { return name_; }

  // What the host reads next.
  void Send(const std::string& bytes) const;

  // What the host has written, once `count` bytes are there.
  std::string Receive(size_t count) const;

  void HangUp();

  // The line's present settings.
  termios Settings() const;

 private:
  int master_ = -1;
  int keeper_ = -1;  // keeps the line's settings and bytes between two opens
  std::string name_;
};

// How many descriptors this process has open.
int OpenDescriptors();

bool SameSettings(const termios& a, const termios& b);

}  // namespace support

#endif  // TESTS_SUPPORT_PTY_H_
