#include "doctor/in_child.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "report.h"

namespace corvex::mvfp::doctor {
namespace {

constexpr unsigned kPatienceS = 10;

// A file without a name, for what is said: a pipe would be kept open by what
// outlives the child.
int NewScratch() {
  const int file = memfd_create("mvfp", MFD_CLOEXEC);
  if (file < 0) throw std::system_error(errno, std::generic_category());
  return file;
}

std::string TextOf(int file) {
  std::array<char, 4096> bytes{};
  const ssize_t count = pread(file, bytes.data(), bytes.size(), 0);
  close(file);
  return {bytes.data(), static_cast<size_t>(count > 0 ? count : 0)};
}

// The kernel ends a child that hangs; a core file is none of the user's
// business.
void BecomeHarmless(int said) {
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  dup2(nothing, STDIN_FILENO);
  dup2(nothing, STDOUT_FILENO);
  dup2(said, STDERR_FILENO);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  prctl(PR_SET_DUMPABLE, 0);
  alarm(kPatienceS);
}

}  // namespace

Trial InChild(const std::function<std::string()>& work) {
  const int said = NewScratch();
  const int result = NewScratch();
  const pid_t child = fork();
  if (child < 0) throw std::system_error(errno, std::generic_category());
  if (child == 0) {
    BecomeHarmless(said);
    std::string text;
    try {
      text = work();
    } catch (const Failure& failure) {
      text = failure.what;
    }
    _exit(write(result, text.data(), text.size()) < 0 ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  const bool hung = WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM;
  Trial trial{WIFEXITED(status) && WEXITSTATUS(status) == 0, TextOf(result),
              TextOf(said)};
  if (!trial.ended) trial.text = hung ? "takes for ever" : "ends the process";
  return trial;
}

}  // namespace corvex::mvfp::doctor
