#include "virtual_reader/reader_program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace {

// The child's end becomes `target` of the child. Returns our end.
int ConnectPipe(posix_spawn_file_actions_t* actions, int target,
                std::vector<int>* child_ends) {
  int ends[2];
  EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
  const int child = target == STDIN_FILENO ? 0 : 1;
  posix_spawn_file_actions_adddup2(actions, ends[child], target);
  child_ends->push_back(ends[child]);
  return ends[1 - child];
}

}  // namespace

ReaderProgram::ReaderProgram(const std::vector<std::string>& arguments) {
  std::vector<char*> argv = {const_cast<char*>("mvfp-vreader")};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  std::vector<int> child_ends;
  input_.Reset(ConnectPipe(&actions, STDIN_FILENO, &child_ends));
  output_.Reset(ConnectPipe(&actions, STDOUT_FILENO, &child_ends));
  error_.Reset(ConnectPipe(&actions, STDERR_FILENO, &child_ends));
  EXPECT_EQ(0, posix_spawn(&process_, MV_VREADER, &actions, nullptr,
                           argv.data(), environ));
  posix_spawn_file_actions_destroy(&actions);
  for (const int end : child_ends) close(end);
}

ReaderProgram::~ReaderProgram() {
  if (process_ < 0) return;
  Terminate(SIGKILL);
  ExitStatus();
}

std::string ReaderProgram::ReadyLine() {
  std::string line;
  char c = 0;
  while (read(output_.Get(), &c, 1) == 1 && c != '\n') line += c;
  return line;
}

void ReaderProgram::Type(const std::string& text) {
  EXPECT_EQ(static_cast<ssize_t>(text.size()),
            write(input_.Get(), text.data(), text.size()));
}

void ReaderProgram::Terminate(int signal) { kill(process_, signal); }

int ReaderProgram::ExitStatus() {
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string ReaderProgram::Complaints() {
  std::string text;
  char c = 0;
  while (read(error_.Get(), &c, 1) == 1) text += c;
  return text;
}
