#include "calls/device_call.h"

#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <new>
#include <random>
#include <system_error>

#include "calls/wait_line.h"
#include "machine/call_lock.h"
#include "ports/port.h"
#include "report.h"

namespace corvex::mvfp {
namespace {

using Clock = std::chrono::steady_clock;

constexpr timespec kTick = {0, 200000000};
constexpr timespec kNoTime = {0, 0};
// Shorter waits need no line that says so.
constexpr long kUnnoticedMs = 1000;
// A worker that ends in any other way has crashed.
constexpr int kDone = 3;

// A reader needs a moment to answer; the longest reply takes 2.2 s.
constexpr int kSilenceMs = 250;
constexpr auto kLongestSettling = std::chrono::seconds(3);

// The signals that end a wait, and that of the worker's end: while a call runs,
// they are waited for.
class HeldSignals {
 public:
  HeldSignals() {
    sigemptyset(&set_);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) {
      sigaddset(&set_, number);
    }
    sigprocmask(SIG_BLOCK, &set_, &before_);
  }
  ~HeldSignals() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

  // Which signal asked for the end within the time; 0 when none did.
  int Wait(const timespec& time) const {
    const int number = sigtimedwait(&set_, nullptr, &time);
    return number < 0 || number == SIGCHLD ? 0 : number;
  }

 private:
  sigset_t set_;
  sigset_t before_;
};

// Remembers the port's settings while the driver works on it, so that a call
// that is cut short leaves the port as it was and the line silent.
class PortKeeper {
 public:
  explicit PortKeeper(const std::string& name) : port_(OpenPort(name)) {
    saved_ = port_ >= 0 && tcgetattr(port_, &settings_) == 0;
  }
  ~PortKeeper() {
    if (port_ >= 0) close(port_);
  }

  // Lets the reader finish what it is sending, throws that away, and puts the
  // settings back. One more signal makes it give up the first.
  void Settle(const HeldSignals& signals) const {
    if (!saved_) return;
    const auto give_up = Clock::now() + kLongestSettling;
    while (Clock::now() < give_up && signals.Wait(kNoTime) == 0) {
      pollfd event{port_, POLLIN, 0};
      const int ready = poll(&event, 1, kSilenceMs);
      if (ready < 0 || (ready == 0 && !IsSending())) break;
      if (ready > 0 && !Discard()) break;
    }
    tcsetattr(port_, TCSANOW, &settings_);
  }

 private:
  bool IsSending() const {
    int waiting = 0;
    return ioctl(port_, TIOCOUTQ, &waiting) == 0 && waiting > 0;
  }

  // False when the port has hung up.
  bool Discard() const {
    std::array<char, 256> bytes;
    const ssize_t count = read(port_, bytes.data(), bytes.size());
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
  }

  int port_;
  bool saved_;
  termios settings_{};
};

// For this process and those that it starts.
std::shared_ptr<Reply> SharedReply() {
  void* const memory = mmap(nullptr, sizeof(Reply), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return {static_cast<Reply*>(memory),
          [](Reply* reply) { munmap(reply, sizeof *reply); }};
}

long MsSince(const Clock::time_point& start) {
  const std::chrono::duration<double, std::milli> passed = Clock::now() - start;
  return static_cast<long>(passed.count());
}

// How often this process gave the processor up, as one that pauses does.
long Pauses() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_nvcsw;
}

// No call talks to the reader before its first pause of 250 ms is over. A busy
// machine may make any call longer than that, but never makes one pause.
void RunTimed(const std::function<int()>& work, Reply* reply) {
  constexpr long kFirstPauseMs = 250;
  const long pauses = Pauses();
  const auto start = Clock::now();
  reply->rc = work();
  reply->elapsed_ms = MsSince(start);
  reply->at_once = reply->elapsed_ms < kFirstPauseMs || Pauses() == pauses;
}

// The held signals stay blocked here: a Ctrl-C reaches both processes, and the
// other one decides. The tool has no threads, so a plain fork is enough.
pid_t StartWorker(const std::function<int()>& work, Reply* reply) {
  const pid_t parent = getpid();
  const pid_t worker = fork();
  if (worker < 0) throw std::system_error(errno, std::generic_category());
  if (worker != 0) return worker;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() == parent) RunTimed(work, reply);
  _exit(kDone);
}

// The lock stays with the frozen process until the line is silent.
void CutShort(pid_t worker, const PortKeeper& port,
              const HeldSignals& signals) {
  int status = 0;
  kill(worker, SIGSTOP);
  const bool frozen =
      waitpid(worker, &status, WUNTRACED) == worker && WIFSTOPPED(status);
  if (!frozen) return;
  port.Settle(signals);
  kill(worker, SIGKILL);
  waitpid(worker, &status, 0);
}

Failure Crashed(const char* function, int status) {
  const int number = WIFSIGNALED(status) ? WTERMSIG(status) : SIGABRT;
  return {std::string("the driver crashed in ") + function + ": " +
              strsignal(number),
          "report this, with the day's log: mvfp log on", kExitFailed,
          SignalDetails(number)};
}

Failure Interrupted(int number) {
  return {"interrupted; the port and the reader are free again", "",
          128 + number, SignalDetails(number), number};
}

Failure TookTooLong(int limit_s) {
  return {"no answer within " + std::to_string(limit_s) + " s", "",
          kExitFailed};
}

Reply RunOnce(const char* function, const DeviceOptions& options,
              const Work& work, const Tick& tick, const HeldSignals& signals) {
  const std::string port = PortOf(options);
  const PortKeeper keeper(port);
  const std::shared_ptr<Reply> reply = SharedReply();
  const auto start = Clock::now();
  const pid_t worker = StartWorker(
      [&] { return work(port.c_str(), options.box.c_str(), reply.get()); },
      reply.get());
  while (true) {
    const int ended_by = signals.Wait(kTick);
    const long elapsed_ms = MsSince(start);
    int status = 0;
    if (waitpid(worker, &status, WNOHANG) == worker) {
      if (WEXITSTATUS(status) != kDone) throw Crashed(function, status);
      return *reply;
    }
    const bool is_too_long =
        options.limit_s > 0 && elapsed_ms >= 1000L * options.limit_s;
    if (ended_by != 0 || is_too_long) CutShort(worker, keeper, signals);
    if (ended_by != 0) throw Interrupted(ended_by);
    if (is_too_long) throw TookTooLong(options.limit_s);
    tick(worker, elapsed_ms);
  }
}

// Asked of the kernel first, for a trial that takes the lock is in the way of
// others; not every holder is seen so.
bool IsHeld() { return IsCallLockHeld() || TryCallLock() == EWOULDBLOCK; }

// Waits until the lock is free. Those who wait for one lock must not all come
// back at once.
void AwaitLock(const Clock::time_point& give_up, const HeldSignals& signals) {
  static std::minstd_rand random{std::random_device()()};
  std::uniform_int_distribution<long> pause_ms(100, 400);
  const std::string holder = ExplainLock(EWOULDBLOCK).text;
  WaitLine line;
  if (!line.IsVisible()) Say("waiting for the reader: " + holder);
  do {
    const std::chrono::duration<double> left = give_up - Clock::now();
    line.Show("waiting (" + std::to_string(static_cast<long>(left.count())) +
              " s left) for the reader: " + holder);
    const timespec pause = {0, 1000000 * pause_ms(random)};
    const int ended_by = signals.Wait(pause);
    if (ended_by != 0) throw Interrupted(ended_by);
  } while (Clock::now() < give_up && IsHeld());
}

}  // namespace

void AddPortOption(const Arguments& arguments, std::string* port) {
  arguments.Text("-p,--port", port, "Serial port: ttyUSB0 or /dev/ttyUSB0")
      .OrFrom("MVFP_PORT")
      .Named("PORT");
}

void AddBoxOption(const Arguments& arguments, std::string* box) {
  arguments.Text("--box", box, "Branch of the switch box before the reader")
      .OneOf({"A", "B", "C", "K"})
      .Named("LETTER");
}

void AddWaitOption(const Arguments& arguments, int* wait_s) {
  constexpr int kLongest = 86400;
  arguments
      .Number("--wait", wait_s, 0, kLongest,
              "How long to wait for another call to end [0]")
      .Named("SECONDS");
}

void AddDeviceOptions(const Arguments& arguments, DeviceOptions* options) {
  AddPortOption(arguments, &options->port);
  AddBoxOption(arguments, &options->box);
  AddWaitOption(arguments, &options->wait_s);
}

std::string PortOf(const DeviceOptions& options) {
  std::string port = PortName(options.port);
  if (!port.empty()) return port;
  throw UsageFailure(options.port.empty()
                         ? "no port given"
                         : "\"" + options.port + "\" names no port below /dev",
                     "name it with --port or in MVFP_PORT; " + KnownPorts());
}

void AwaitReader(int wait_s) {
  const auto give_up = Clock::now() + std::chrono::seconds(wait_s);
  const HeldSignals signals;
  if (wait_s > 0 && IsHeld()) AwaitLock(give_up, signals);
}

bool WasRefused(const Reply& reply) {
  return reply.rc == FG_ERR_BUSY && reply.at_once;
}

Reply RunDeviceCall(const char* function, const DeviceOptions& options,
                    const Work& work, const Tick& tick) {
  const auto give_up = Clock::now() + std::chrono::seconds(options.wait_s);
  const HeldSignals signals;
  while (true) {
    WaitLine line;
    const Tick say = [&](pid_t /*worker*/, long elapsed_ms) {
      if (elapsed_ms < kUnnoticedMs) return;
      line.Show("waiting for the reader (" + std::to_string(elapsed_ms / 1000) +
                " s)");
    };
    const Reply reply =
        RunOnce(function, options, work, tick ? tick : say, signals);
    if (!WasRefused(reply) || Clock::now() >= give_up) return reply;
    const int error = TryCallLock();
    if (error == EWOULDBLOCK) AwaitLock(give_up, signals);
    if (error != EWOULDBLOCK && error != 0) return reply;
  }
}

void EndBySignal(int signal_number) {
  signal(signal_number, SIG_DFL);
  raise(signal_number);
  _exit(128 + signal_number);
}

}  // namespace corvex::mvfp
