#include "device_call.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>

#include "port.h"

namespace corvex::mvfp {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kTickMs = 200;

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {
    if (fd < 0) throw std::system_error(errno, std::generic_category());
  }
  ~Descriptor() { close(fd_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Get() const { return fd_; }

 private:
  int fd_;
};

// Turns the signals that end a wait into something to poll for.
class EndSignals {
 public:
  EndSignals() : set_(MakeSet()), fd_(Block(set_)) {}
  ~EndSignals() { sigprocmask(SIG_UNBLOCK, &set_, nullptr); }
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

  int Fd() const { return fd_.Get(); }
  int Take() const {
    signalfd_siginfo info{};
    const ssize_t count = read(Fd(), &info, sizeof info);
    return count == static_cast<ssize_t>(sizeof info)
               ? static_cast<int>(info.ssi_signo)
               : SIGINT;
  }

 private:
  static sigset_t MakeSet() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set, number);
    return set;
  }
  static int Block(const sigset_t& set) {
    sigprocmask(SIG_BLOCK, &set, nullptr);
    return signalfd(-1, &set, SFD_CLOEXEC);
  }

  sigset_t set_;
  Descriptor fd_;
};

// The signals that end a wait stay blocked here: a Ctrl-C reaches both
// processes, and the other one decides. The tool has no threads, so a plain
// fork is enough.
[[noreturn]] void RunWorker(const Work& work, int result, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  Reply reply{};
  work(&reply);
  const ssize_t written = write(result, &reply, sizeof reply);
  _exit(written == static_cast<ssize_t>(sizeof reply) ? 0 : 1);
}

long MsSince(Clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() -
                                                               start)
      .count();
}

// The lock stays with the frozen process until the line is silent.
void CutShort(pid_t worker, const PortKeeper& port, int stop) {
  int status = 0;
  kill(worker, SIGSTOP);
  const bool frozen =
      waitpid(worker, &status, WUNTRACED) == worker && WIFSTOPPED(status);
  if (!frozen) return;
  port.Settle(stop);
  kill(worker, SIGKILL);
  waitpid(worker, &status, 0);
}

// A worker that ends without a whole reply has crashed.
void Collect(pid_t worker, int result, Outcome* outcome) {
  const ssize_t count = read(result, &outcome->reply, sizeof outcome->reply);
  int status = 0;
  waitpid(worker, &status, 0);
  if (count == static_cast<ssize_t>(sizeof outcome->reply)) return;
  outcome->crashed_by = WIFSIGNALED(status) ? WTERMSIG(status) : SIGABRT;
}

}  // namespace

Outcome RunDeviceCall(const std::string& port, const Work& work,
                      const Tick& tick) {
  const PortKeeper keeper(port);
  const EndSignals signals;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) Descriptor(-1);
  const Descriptor result(ends[0]);
  const pid_t parent = getpid();
  const auto start = Clock::now();
  const pid_t worker = fork();
  if (worker == 0) RunWorker(work, ends[1], parent);
  close(ends[1]);
  if (worker < 0) Descriptor(-1);

  Outcome outcome;
  while (true) {
    pollfd events[] = {{result.Get(), POLLIN, 0}, {signals.Fd(), POLLIN, 0}};
    poll(events, 2, kTickMs);
    outcome.elapsed_ms = MsSince(start);
    if (events[0].revents != 0) {
      Collect(worker, result.Get(), &outcome);
      return outcome;
    }
    if (events[1].revents != 0) {
      outcome.interrupted_by = signals.Take();
      CutShort(worker, keeper, signals.Fd());
      return outcome;
    }
    if (tick) tick(worker, outcome.elapsed_ms);
  }
}

void EndBySignal(int signal_number) {
  signal(signal_number, SIG_DFL);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal_number);
  sigprocmask(SIG_UNBLOCK, &set, nullptr);
  raise(signal_number);
  _exit(128 + signal_number);
}

}  // namespace corvex::mvfp
