#include "virtual_reader/virtual_reader.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <utility>

namespace corvex::vreader {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A reader gives an incomplete request up after such a silence.
constexpr milliseconds kBreakOffSilence{500};
// How long a query waits for the reader to catch up, and a hang-up for the
// host.
constexpr milliseconds kQueryPatience{2000};
constexpr milliseconds kHangUpPatience{1000};

int NewEvent() { return eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK); }

void Signal(const Descriptor& event) {
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t n = write(event.Get(), &one, sizeof one);
}

uint64_t TakeSignals(const Descriptor& event) {
  uint64_t count = 0;
  return read(event.Get(), &count, sizeof count) == sizeof count ? count : 0;
}

int RoundUpToMilliseconds(steady_clock::duration time) {
  const auto ms = std::chrono::ceil<milliseconds>(time).count();
  return static_cast<int>(std::clamp<int64_t>(ms, 0, 3600000));
}

}  // namespace

VirtualReader::Exchange& VirtualReader::Exchange::Reply(std::string text) {
  const std::lock_guard<std::mutex> lock(reader_->mutex_);
  reader_->canned_[request_].pieces.push_back({wait_, std::move(text)});
  wait_ = microseconds(0);
  return *this;
}

VirtualReader::Exchange& VirtualReader::Exchange::Wait(milliseconds time) {
  wait_ += time;
  return *this;
}

VirtualReader::Exchange& VirtualReader::Exchange::HangUp() {
  const std::lock_guard<std::mutex> lock(reader_->mutex_);
  reader_->canned_[request_].hangs_up = true;
  return *this;
}

VirtualReader::VirtualReader(Options options)
    : options_(std::move(options)),
      start_(steady_clock::now()),
      stop_(NewEvent()),
      sync_(NewEvent()),
      port_name_(terminal_.Name()),
      device_(options_.version,
              Bytes(options_.serial.begin(), options_.serial.end()),
              options_.fingers),
      thread_([this] { Serve(); }) {}

VirtualReader::~VirtualReader() {
  Signal(stop_);
  thread_.join();
}

void VirtualReader::Run(std::string_view text, int first_line) {
  const Script script = ParseScript(text, first_line);
  if (!script.errors.empty()) {
    throw std::invalid_argument(script.errors.front());
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto missing = FindMissing(script, device_.book());
    if (!missing.empty()) throw std::invalid_argument(missing.front());
    timeline_.Append(script.steps);
    timeline_.Advance(&device_, steady_clock::now());
  }
  Settle();
}

VirtualReader::Exchange VirtualReader::On(std::string request) {
  const std::lock_guard<std::mutex> lock(mutex_);
  canned_[request] = Delivery{};
  return Exchange(this, std::move(request));
}

void VirtualReader::AddRecord(const std::string& finger, int impression,
                              Bytes record) {
  const std::lock_guard<std::mutex> lock(mutex_);
  device_.book().Add(finger, impression, std::move(record));
}

void VirtualReader::Press(Bytes record) {
  const std::lock_guard<std::mutex> lock(mutex_);
  device_.Press(std::move(record));
}

void VirtualReader::Lift() {
  const std::lock_guard<std::mutex> lock(mutex_);
  device_.Lift();
}

std::vector<Transfer> VirtualReader::Trace() const {
  Settle();
  const std::lock_guard<std::mutex> lock(mutex_);
  return trace_;
}

std::vector<std::string> VirtualReader::Requests() const {
  std::vector<std::string> requests;
  for (Transfer& transfer : Trace()) {
    if (transfer.direction == Transfer::Direction::kToReader) {
      requests.push_back(std::move(transfer.text));
    }
  }
  return requests;
}

std::vector<std::string> VirtualReader::Errors() const {
  Settle();
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string> errors = errors_;
  if (const auto rest = scanner_.Incomplete()) errors.push_back(rest->Error());
  return errors;
}

Tally VirtualReader::Counts() const {
  Settle();
  const std::lock_guard<std::mutex> lock(mutex_);
  return device_.tally();
}

char VirtualReader::Selector() const {
  Settle();
  const std::lock_guard<std::mutex> lock(mutex_);
  return device_.selector();
}

int VirtualReader::Speed() const {
  Settle();
  const std::lock_guard<std::mutex> lock(mutex_);
  return device_.speed();
}

bool VirtualReader::ScriptDone() const {
  Settle();
  const std::lock_guard<std::mutex> lock(mutex_);
  return timeline_.Idle();
}

termios VirtualReader::TerminalSettings() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return terminal_.Settings();
}

void VirtualReader::Settle() const {
  std::unique_lock<std::mutex> lock(mutex_);
  const uint64_t ticket = ++settle_wanted_;
  Signal(sync_);
  settled_.wait_for(lock, kQueryPatience,
                    [&] { return settle_done_ >= ticket; });
}

void VirtualReader::Serve() {
  // The signals of the process are for its own threads.
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
  uint64_t owed = 0;
  while (WaitForInput(&owed)) {
    Receive();
    Advance();
  }
}

// How long nothing is due; negative when nothing ever is.
int VirtualReader::PollTime() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::optional<TimePoint> due = timeline_.Due();
  if (scanner_.Incomplete()) {
    const TimePoint break_off = last_input_ + kBreakOffSilence;
    due = due ? std::min(*due, break_off) : break_off;
  }
  return due ? RoundUpToMilliseconds(*due - steady_clock::now()) : -1;
}

// False when the thread shall end. `owed` counts the queries that wait until
// the line is read empty: one that came before the poll has been served when
// the poll finds nothing to read.
bool VirtualReader::WaitForInput(uint64_t* owed) {
  pollfd fds[] = {{stop_.Get(), POLLIN, 0},
                  {sync_.Get(), POLLIN, 0},
                  {terminal_.Master(), POLLIN, 0}};
  if (poll(fds, std::size(fds), *owed > 0 ? 0 : PollTime()) < 0) return true;
  if (fds[0].revents != 0) return false;
  if (*owed > 0 && fds[2].revents == 0) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      settle_done_ += *owed;
    }
    *owed = 0;
    settled_.notify_all();
  }
  if (fds[1].revents != 0) *owed += TakeSignals(sync_);
  return true;
}

void VirtualReader::Receive() {
  char buffer[4096];
  const ssize_t n = read(terminal_.Master(), buffer, sizeof buffer);
  const TimePoint now = steady_clock::now();
  std::unique_lock<std::mutex> lock(mutex_);
  if (n > 0) {
    if (!scanner_.Incomplete()) request_start_ = now;
    last_input_ = now;
    scanner_.Feed({buffer, static_cast<size_t>(n)});
  }
  while (auto request = scanner_.Next()) {
    lock.unlock();
    Handle(std::move(*request));
    lock.lock();
    request_start_ = steady_clock::now();
  }
  const auto rest = scanner_.Incomplete();
  if (rest && now - last_input_ >= kBreakOffSilence) {
    scanner_.DropIncomplete();
    Record(Transfer::Direction::kToReader, rest->text);
    Report(*rest);
  }
}

void VirtualReader::Handle(Request request) {
  const size_t chars = request.text.size();
  Delivery delivery;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    Record(Transfer::Direction::kToReader, request.text);
    delivery = Decide(&request);
    if (!request.problem.empty()) Report(request);
  }
  delivery = Pace(std::move(delivery), options_.baud, chars);
  Send(delivery, request_start_);
}

Delivery VirtualReader::Decide(Request* request) {
  const auto canned = canned_.find(request->text);
  if (canned != canned_.end()) {
    request->problem.clear();
    return canned->second;
  }
  const auto reply = device_.Answer(request);
  if (!reply) return {};
  const Fault fault = device_.TakeFault(*request);
  return Deliver(FrameText(*reply, fault), fault);
}

void VirtualReader::Send(const Delivery& delivery, TimePoint started) {
  TimePoint due = started;
  std::string sent;
  for (const Piece& piece : delivery.pieces) {
    due += std::chrono::duration_cast<steady_clock::duration>(piece.wait);
    if (!SleepUntil(due)) return;
    Write(piece.text);
    sent += piece.text;
  }
  if (delivery.hangs_up) AwaitHostRead();
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!sent.empty()) Record(Transfer::Direction::kToHost, std::move(sent));
  if (delivery.hangs_up) terminal_.HangUp();
  timeline_.Advance(&device_, steady_clock::now());
}

// False when the thread shall end.
bool VirtualReader::SleepUntil(TimePoint due) const {
  pollfd stop{stop_.Get(), POLLIN, 0};
  while (stop.revents == 0) {
    const auto left = due - steady_clock::now();
    if (left.count() <= 0) return true;
    const auto ns =
        std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
    const timespec wait{ns / 1000000000, ns % 1000000000};
    ppoll(&stop, 1, &wait, nullptr);
  }
  return false;
}

void VirtualReader::Write(std::string_view text) const {
  while (!text.empty()) {
    const ssize_t n = write(terminal_.Master(), text.data(), text.size());
    if (n > 0) {
      text.remove_prefix(static_cast<size_t>(n));
      continue;
    }
    if (errno != EAGAIN) return;
    // A host that does not read: wait, but not past the reader's own end.
    pollfd fds[] = {{stop_.Get(), POLLIN, 0}, {terminal_.Master(), POLLOUT, 0}};
    poll(fds, std::size(fds), -1);
    if (fds[0].revents != 0) return;
  }
}

// What was sent before a hang-up must reach the host: a hang-up drops it.
void VirtualReader::AwaitHostRead() const {
  const TimePoint give_up = steady_clock::now() + kHangUpPatience;
  while (terminal_.HostHasUnread() && steady_clock::now() < give_up &&
         SleepUntil(steady_clock::now() + milliseconds(1))) {
  }
}

void VirtualReader::Advance() {
  bool ending = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    timeline_.Advance(&device_, steady_clock::now());
    ending = !ended_ && (timeline_.Unplugged() || timeline_.Quit());
  }
  if (ending) End();
}

void VirtualReader::End() {
  AwaitHostRead();
  const std::lock_guard<std::mutex> lock(mutex_);
  ended_ = true;
  if (timeline_.Unplugged()) terminal_.HangUp();
  if (options_.on_end) options_.on_end();
}

void VirtualReader::Report(const Request& request) {
  errors_.push_back(request.Error());
  if (options_.on_error) options_.on_error(errors_.back());
}

void VirtualReader::Record(Transfer::Direction direction, std::string text) {
  const auto time =
      std::chrono::duration_cast<microseconds>(steady_clock::now() - start_);
  Transfer transfer{direction, time, std::move(text)};
  if (options_.on_transfer) options_.on_transfer(transfer);
  if (options_.keeps_trace) trace_.push_back(std::move(transfer));
}

}  // namespace corvex::vreader
