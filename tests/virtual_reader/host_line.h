// The host's end of the line, as plain as can be.
#ifndef TESTS_VIRTUAL_READER_HOST_LINE_H_
#define TESTS_VIRTUAL_READER_HOST_LINE_H_

#include <string>

#include "virtual_reader/descriptor.h"

class HostLine {
 public:
  // Opens the port raw.
  explicit HostLine(const std::string& port_name);

  // The result of one write: -1 after a hang-up.
  ssize_t Send(const std::string& text);

  // Reads as many characters, or fewer when the line hangs up or stays silent.
  std::string Read(size_t count);

  // Sends and reads a reply as long as the one expected.
  std::string Ask(const std::string& request, size_t reply_chars);

  // Whether the line has hung up.
  bool HasHungUp();

 private:
  corvex::vreader::Descriptor line_;
};

#endif  // TESTS_VIRTUAL_READER_HOST_LINE_H_
