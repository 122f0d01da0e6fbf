// Runs the built mvfp as a user would and keeps what it prints.
#ifndef TESTS_MVFP_TOOL_RUN_H_
#define TESTS_MVFP_TOOL_RUN_H_

#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

struct Finished {
  int exit_code = -1;  // -1 when a signal ended it
  int signal = 0;
  std::string out;
  std::string err;

  // Standard output, which must be one JSON object on one line.
  nlohmann::json Json() const;
};

class ToolRun {
 public:
  enum class ErrorTo { kFile, kTerminal };

  // Starts the tool; `input` is its standard input.
  explicit ToolRun(const std::vector<std::string>& arguments,
                   const std::string& input = "",
                   ErrorTo error_to = ErrorTo::kFile);
  ~ToolRun();
  ToolRun(const ToolRun&) = delete;
  ToolRun& operator=(const ToolRun&) = delete;

  void Signal(int number) const;

  // What is on standard output by now.
  std::string Output() const;

  // Waits until standard output, or error on a terminal, holds the text. False
  // when it still does not after a generous while.
  bool WaitForOutput(const std::string& text);
  bool WaitForError(const std::string& text);

  Finished Wait();

 private:
  std::string ReadError();

  std::string directory_;
  int terminal_ = -1;  // our end of standard error's terminal
  std::string terminal_text_;
  pid_t process_ = -1;
};

Finished RunTool(const std::vector<std::string>& arguments,
                 const std::string& input = "");

// A record with `count` minutiae, as Base64; another one for each seed.
std::string SampleRecord(int count, unsigned seed = 1);

#endif  // TESTS_MVFP_TOOL_RUN_H_
