// Work that might end its process, and programs that are asked.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>

#include "doctor/box.h"

namespace corvex::mvfp::doctor {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPatienceMs = 10000;
// What a child says begins with this: one that ends says nothing.
constexpr char kAlive = '+';

void WriteAll(int file, const std::string& text) {
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = write(file, text.data() + done, text.size() - done);
    if (count <= 0) _exit(1);
    done += static_cast<size_t>(count);
  }
}

// What it prints itself is none of the user's business.
void Silence() {
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    dup2(nothing, fd);
  }
}

// False when the time is over.
bool ReadAll(int file, std::string* text) {
  const auto end = Clock::now() + std::chrono::milliseconds(kPatienceMs);
  std::array<char, 4096> bytes;
  while (true) {
    pollfd event{file, POLLIN, 0};
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - Clock::now());
    if (left.count() <= 0) return false;
    if (poll(&event, 1, static_cast<int>(left.count())) <= 0) continue;
    const ssize_t count = read(file, bytes.data(), bytes.size());
    if (count <= 0) return true;
    text->append(bytes.data(), static_cast<size_t>(count));
  }
}

// `work` gets the descriptor to write to.
Said RunChild(const std::function<void(int)>& work) {
  Said said;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return {"", true, false};
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_DUMPABLE, 0);  // no core file either
    Silence();
    work(ends[1]);
    _exit(0);
  }
  close(ends[1]);
  said.hung = child > 0 && !ReadAll(ends[0], &said.text);
  close(ends[0]);
  if (child > 0) {
    if (said.hung) kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
  return said;
}

}  // namespace

Said AskChild(const std::function<std::string()>& work) {
  Said said = RunChild([&](int answer) { WriteAll(answer, kAlive + work()); });
  said.ended = said.text.empty() && !said.hung;
  if (!said.text.empty()) said.text.erase(0, 1);
  return said;
}

std::string OutputOf(const std::vector<std::string>& command,
                     const std::vector<std::string>& variables) {
  std::vector<char*> argv;
  argv.reserve(command.size() + 1);
  for (const std::string& word : command) {
    argv.push_back(const_cast<char*>(word.c_str()));
  }
  argv.push_back(nullptr);
  return RunChild([&](int output) {
           dup2(output, STDOUT_FILENO);
           for (const std::string& variable : variables) {
             putenv(const_cast<char*>(variable.c_str()));
           }
           execvp(argv[0], argv.data());
         })
      .text;
}

}  // namespace corvex::mvfp::doctor
