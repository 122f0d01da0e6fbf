// The program mvfp-vreader as a process of its own.
#ifndef TESTS_VIRTUAL_READER_READER_PROGRAM_H_
#define TESTS_VIRTUAL_READER_READER_PROGRAM_H_

#include <sys/types.h>

#include <string>
#include <vector>

#include "virtual_reader/descriptor.h"

class ReaderProgram {
 public:
  explicit ReaderProgram(const std::vector<std::string>& arguments);
  ~ReaderProgram();
  ReaderProgram(const ReaderProgram&) = delete;
  ReaderProgram& operator=(const ReaderProgram&) = delete;

  // The first line of standard output; empty when the program ended without.
  std::string ReadyLine();

  void Type(const std::string& text);  // on its standard input
  void Terminate(int signal);

  // Waits for the end. -1 when a signal brought it.
  int ExitStatus();

  // What it printed on standard error, once it has ended.
  std::string Complaints();

 private:
  corvex::vreader::Descriptor input_, output_, error_;
  pid_t process_ = -1;
};

#endif  // TESTS_VIRTUAL_READER_READER_PROGRAM_H_
