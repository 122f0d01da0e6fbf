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

}  // namespace

VirtualReader::Exchange& VirtualReader::Exchange::Reply(
    const std::string& text) {
  const Lock lock(reader_->mutex_);
  reader_->canned_[request_] += text;
  return *this;
}

VirtualReader::VirtualReader(Options options)
    : options_(std::move(options)),
      start_(steady_clock::now()),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      device_(options_.version,
              Bytes(options_.serial.begin(), options_.serial.end()),
              options_.fingers),
      thread_([this] { Serve(); }) {}

VirtualReader::~VirtualReader() {
  {
    const Lock lock(mutex_);
    stopping_ = true;
    changed_.notify_all();
  }
  eventfd_write(wake_.Get(), 1);
  thread_.join();
}

void VirtualReader::Run(std::string_view text, int first_line) {
  {
    const Lock lock(mutex_);
    const Script script = ParseScript(text, device_.book(), first_line);
    if (!script.errors.empty()) {
      throw std::invalid_argument(script.errors.front());
    }
    timeline_.Append(script.steps);
    timeline_.Advance(&device_, steady_clock::now());
  }
  Settle();
}

VirtualReader::Exchange VirtualReader::On(std::string request) {
  const Lock lock(mutex_);
  canned_[request].clear();
  return {this, std::move(request)};
}

void VirtualReader::AddRecord(const std::string& finger, int impression,
                              Bytes record) {
  const Lock lock(mutex_);
  device_.book().Add(finger, impression, std::move(record));
}

void VirtualReader::Press(Bytes record) {
  const Lock lock(mutex_);
  device_.book().Add("", 1, std::move(record));
  device_.Press("", 1);
}

void VirtualReader::Lift() {
  const Lock lock(mutex_);
  device_.Lift();
}

std::vector<Transfer> VirtualReader::Trace() const {
  const Lock lock = Settle();
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
  const Lock lock = Settle();
  std::vector<std::string> errors = errors_;
  if (!pending_.empty()) errors.push_back(BrokenOff(pending_).Error());
  return errors;
}

Tally VirtualReader::Counts() const {
  const Lock lock = Settle();
  return device_.tally();
}

// Waits until what the host has written is taken in.
VirtualReader::Lock VirtualReader::Settle() const {
  Lock lock(mutex_);
  const uint64_t query = ++queries_;
  eventfd_write(wake_.Get(), 1);
  changed_.wait_for(lock, kQueryPatience, [&] { return answered_ >= query; });
  return lock;
}

void VirtualReader::Serve() {
  // The signals of the process are for its own threads.
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
  Lock lock(mutex_);
  while (AwaitInput(&lock)) {
    Receive(&lock);
    timeline_.Advance(&device_, steady_clock::now());
    if (ended_ || !device_.HasQuit()) continue;
    AwaitHostRead(&lock);
    ended_ = true;
    if (device_.Unplugged()) terminal_.HangUp();
    if (options_.on_end) options_.on_end();
  }
}

// Waits until something has come or is due; false when the thread shall end.
// Queries that came before the poll are answered when it finds nothing to read.
bool VirtualReader::AwaitInput(Lock* lock) {
  const uint64_t queries = queries_;
  TimePoint due = timeline_.Due();
  if (!pending_.empty()) due = std::min(due, last_input_ + kBreakOffSilence);
  const auto left =
      std::chrono::ceil<milliseconds>(due - steady_clock::now()).count();
  const auto timeout = queries > answered_ ? 0 : std::clamp(left, 0L, 3600000L);
  pollfd fds[] = {{wake_.Get(), POLLIN, 0}, {terminal_.Master(), POLLIN, 0}};
  lock->unlock();
  const int ready = poll(fds, std::size(fds), static_cast<int>(timeout));
  lock->lock();
  eventfd_t count = 0;
  if (ready > 0 && fds[0].revents != 0) eventfd_read(wake_.Get(), &count);
  if (ready >= 0 && fds[1].revents == 0) {
    answered_ = queries;
    changed_.notify_all();
  }
  return !stopping_;
}

void VirtualReader::Receive(Lock* lock) {
  char buffer[4096];
  const ssize_t n = read(terminal_.Master(), buffer, sizeof buffer);
  const TimePoint now = steady_clock::now();
  if (n > 0) {
    if (pending_.empty()) request_start_ = now;
    last_input_ = now;
    pending_.append(buffer, static_cast<size_t>(n));
  }
  while (auto request = TakeRequest(&pending_)) {
    Handle(std::move(*request), lock);
    request_start_ = steady_clock::now();
  }
  if (!pending_.empty() && now - last_input_ >= kBreakOffSilence) {
    Handle(BrokenOff(std::exchange(pending_, "")), lock);
  }
}

void VirtualReader::Handle(Request request, Lock* lock) {
  Record(Transfer::Direction::kToReader, request.text);
  const auto canned = canned_.find(request.text);
  Delivery delivery;
  if (canned != canned_.end()) {
    delivery.text = canned->second;
  } else {
    delivery = device_.Answer(&request);
    if (!request.problem.empty()) {
      errors_.push_back(request.Error());
      if (options_.on_error) options_.on_error(errors_.back());
    }
  }
  Send(delivery, request.text.size(), lock);
  timeline_.Advance(&device_, steady_clock::now());
}

// At the line's speed; the reply begins when the request is through.
void VirtualReader::Send(const Delivery& delivery, size_t request_chars,
                         Lock* lock) {
  const std::string_view text = delivery.text;
  if (text.empty() && !delivery.hangs_up) return;
  const microseconds each = CharacterTime(options_.baud);
  const microseconds pause = each + delivery.dribble;
  const size_t at_once = pause.count() > 0 ? 1 : text.size();
  TimePoint due = request_start_ + delivery.delay +
                  each * static_cast<int64_t>(request_chars);
  if (!SleepUntil(due, lock)) return;
  for (size_t at = 0; at < text.size(); at += at_once) {
    due += pause;
    if (!SleepUntil(due, lock)) return;
    Write(text.substr(at, at_once), lock);
  }
  if (delivery.hangs_up) AwaitHostRead(lock);
  if (!text.empty()) Record(Transfer::Direction::kToHost, delivery.text);
  if (delivery.hangs_up) terminal_.HangUp();
}

void VirtualReader::Write(std::string_view text, Lock* lock) {
  while (!text.empty()) {
    const ssize_t n = write(terminal_.Master(), text.data(), text.size());
    if (n > 0) {
      text.remove_prefix(static_cast<size_t>(n));
    } else if (errno != EAGAIN ||  // else the host does not read
               !SleepUntil(steady_clock::now() + milliseconds(1), lock)) {
      return;
    }
  }
}

// False when the thread shall end.
bool VirtualReader::SleepUntil(TimePoint due, Lock* lock) {
  return !changed_.wait_until(*lock, due, [this] { return stopping_; });
}

// What was sent before a hang-up must reach the host: a hang-up drops it.
void VirtualReader::AwaitHostRead(Lock* lock) {
  const TimePoint give_up = steady_clock::now() + kHangUpPatience;
  while (terminal_.HostHasUnread() && steady_clock::now() < give_up &&
         SleepUntil(steady_clock::now() + milliseconds(1), lock)) {
  }
}

void VirtualReader::Record(Transfer::Direction direction,
                           const std::string& text) {
  const auto time =
      std::chrono::duration_cast<microseconds>(steady_clock::now() - start_);
  const Transfer transfer{direction, time, text};
  if (options_.on_transfer) options_.on_transfer(transfer);
  if (options_.keeps_trace) trace_.push_back(transfer);
}

}  // namespace corvex::vreader
