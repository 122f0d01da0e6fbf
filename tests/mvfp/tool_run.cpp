#include "tool_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>

#include "mv_base/base64.h"
#include "support/temp_file.h"

namespace {

constexpr int kPatience = 600;  // turns of 50 ms

int OpenFor(const std::string& path, int mode) {
  return open(path.c_str(), mode | O_CLOEXEC, 0600);
}

// Made before the fork: a reader's thread may hold the allocator's lock then.
std::vector<char*> ArgumentVector(const std::vector<std::string>& arguments) {
  std::vector<char*> argv = {const_cast<char*>("mvfp")};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  return argv;
}

std::string MakeDirectory() {
  char name[] = "/tmp/mvfp_run_XXXXXX";
  return mkdtemp(name) != nullptr ? name : "/tmp";
}

}  // namespace

nlohmann::json Finished::Json() const {
  EXPECT_EQ(1, std::count(out.begin(), out.end(), '\n')) << out;
  auto object = nlohmann::json::parse(out, nullptr, false);
  EXPECT_TRUE(object.is_object()) << out;
  return object.is_object() ? object : nlohmann::json::object();
}

ToolRun::ToolRun(const std::vector<std::string>& arguments,
                 const std::string& input, ErrorTo error_to)
    : directory_(MakeDirectory()) {
  support::WriteFile(directory_ + "/in", input);
  const int in = OpenFor(directory_ + "/in", O_RDONLY);
  const int out = OpenFor(directory_ + "/out", O_WRONLY | O_CREAT);
  int err = -1;
  if (error_to == ErrorTo::kTerminal) {
    openpty(&terminal_, &err, nullptr, nullptr, nullptr);
    fcntl(terminal_, F_SETFD, FD_CLOEXEC);
    fcntl(err, F_SETFD, FD_CLOEXEC);
  } else {
    err = OpenFor(directory_ + "/err", O_WRONLY | O_CREAT);
  }
  const std::vector<char*> argv = ArgumentVector(arguments);
  setenv("LSAN_OPTIONS",
         "suppressions=" MVFP_LEAKS_OF_OTHERS ":print_suppressions=0", 1);
  process_ = fork();
  if (process_ == 0) {
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    execv(MVFP_PROGRAM, argv.data());
    _exit(127);
  }
  for (const int fd : {in, out, err}) close(fd);
}

ToolRun::~ToolRun() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  if (terminal_ >= 0) close(terminal_);
}

void ToolRun::Signal(int number) const { kill(process_, number); }

std::string ToolRun::ReadError() {
  if (terminal_ < 0) return support::ReadFile(directory_ + "/err");
  pollfd event{terminal_, POLLIN, 0};
  std::array<char, 4096> bytes;
  while (poll(&event, 1, 0) > 0) {
    const ssize_t count = read(terminal_, bytes.data(), bytes.size());
    if (count <= 0) break;
    terminal_text_.append(bytes.data(), static_cast<size_t>(count));
  }
  return terminal_text_;
}

std::string ToolRun::Output() const {
  return support::ReadFile(directory_ + "/out");
}

bool ToolRun::WaitForOutput(const std::string& text) {
  for (int i = 0; i < kPatience; ++i) {
    if (Output().find(text) != std::string::npos) return true;
    poll(nullptr, 0, 50);
  }
  return false;
}

bool ToolRun::WaitForError(const std::string& text) {
  for (int i = 0; i < kPatience; ++i) {
    if (ReadError().find(text) != std::string::npos) return true;
    poll(nullptr, 0, 50);
  }
  return false;
}

Finished ToolRun::Wait() {
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = -1;
  Finished finished;
  if (WIFEXITED(status)) finished.exit_code = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) finished.signal = WTERMSIG(status);
  finished.out = Output();
  finished.err = ReadError();
  return finished;
}

Finished RunTool(const std::vector<std::string>& arguments,
                 const std::string& input) {
  return ToolRun(arguments, input).Wait();
}

std::string SampleRecord(int count, unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&](unsigned limit) {
    return static_cast<unsigned>(random() % limit);
  };
  std::vector<uint8_t> record = {0x12, 0, static_cast<uint8_t>(count)};
  for (int i = 0; i < count; ++i) {
    const unsigned direction = below(360);
    for (const unsigned byte :
         {20 + below(215), 20 + below(215), direction & 0xFF,
          direction >> 8 | 50 << 1, below(2) << 7}) {
      record.push_back(static_cast<uint8_t>(byte));
    }
  }
  std::string text(record.size() * 2 + 8, '\0');
  const int length =
      EncodeB64(text.data(), record.data(), static_cast<int>(record.size()));
  text.resize(static_cast<size_t>(length));
  return text;
}
