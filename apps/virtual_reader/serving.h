// The program's work once its command line and files are read: a reader, its
// port name on standard output, script lines from standard input, and a clean
// end.
#ifndef APPS_VIRTUAL_READER_SERVING_H_
#define APPS_VIRTUAL_READER_SERVING_H_

#include <string>

#include "virtual_reader/finger_book.h"

namespace corvex::vreader {

constexpr char kProgram[] = "mvfp-vreader";

struct ServingOptions {
  int baud = 9600;
  FingerBook fingers;
  std::string script;              // free of errors
  bool script_from_input = false;  // more of it, from standard input
  bool traces = false;
  std::string trace_path;  // empty: standard error
  std::string link_path;   // empty: none
};

// Serves until the script says quit or unplug, or SIGINT or SIGTERM comes.
// False when the host sent what a real reader would not understand, or a line
// of standard input was in error; both have been reported. Throws
// std::system_error when it cannot begin.
bool Serve(const ServingOptions& options);

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_SERVING_H_
