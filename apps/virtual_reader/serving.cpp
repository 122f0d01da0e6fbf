#include "virtual_reader/serving.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "virtual_reader/virtual_reader.h"

namespace corvex::vreader {
namespace {

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

void Complain(const std::string& problem) {
  fprintf(stderr, "%s: %s\n", kProgram, problem.c_str());
}

// Before any thread starts, so that all of them inherit it.
int BlockEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signalfd(-1, &signals, SFD_CLOEXEC);
}

// All traffic as text, one transfer a line.
class TraceLog {
 public:
  explicit TraceLog(const std::string& path)
      : file_(path.empty() ? stderr : fopen(path.c_str(), "we")) {
    if (file_ == nullptr) Fail(path);
  }
  ~TraceLog() {
    if (file_ != stderr) fclose(file_);
  }
  TraceLog(const TraceLog&) = delete;
  TraceLog& operator=(const TraceLog&) = delete;

  void Write(const Transfer& transfer) {
    const bool to_host = transfer.direction == Transfer::Direction::kToHost;
    fprintf(file_, "%11.6f %s %s\n",
            static_cast<double>(transfer.time.count()) / 1e6,
            to_host ? "reply  " : "request", Printable(transfer.text).c_str());
    fflush(file_);
  }

 private:
  FILE* const file_;
};

// A name of the user's choice for the port; gone when the program ends.
class PortLink {
 public:
  PortLink(const std::string& path, const std::string& port_name)
      : path_(path) {
    if (path_.empty()) return;
    // One that an earlier run left behind may go; anything else is kept.
    struct stat old {};
    if (lstat(path_.c_str(), &old) == 0 && S_ISLNK(old.st_mode)) {
      unlink(path_.c_str());
    }
    if (symlink(("/dev/" + port_name).c_str(), path_.c_str()) != 0) Fail(path_);
  }
  ~PortLink() {
    if (!path_.empty()) unlink(path_.c_str());
  }
  PortLink(const PortLink&) = delete;
  PortLink& operator=(const PortLink&) = delete;

 private:
  const std::string path_;
};

// Standard input as script lines.
class ScriptInput {
 public:
  explicit ScriptInput(bool open) : open_(open) {}

  // For poll; negative when no more lines come.
  int Fd() const { return open_ ? STDIN_FILENO : -1; }

  // Runs what has come. False when a line was in error.
  bool Take(VirtualReader* reader) {
    char buffer[4096];
    const ssize_t n = read(Fd(), buffer, sizeof buffer);
    if (n > 0) {
      text_.append(buffer, static_cast<size_t>(n));
    } else {
      open_ = false;
      if (!text_.empty()) text_ += '\n';
    }
    bool good = true;
    size_t end = 0;
    while ((end = text_.find('\n')) != std::string::npos) {
      good = Run(text_.substr(0, end), reader) && good;
      text_.erase(0, end + 1);
    }
    return good;
  }

 private:
  bool Run(const std::string& line, VirtualReader* reader) {
    ++number_;
    try {
      reader->Run(line, number_);
      return true;
    } catch (const std::invalid_argument& error) {
      Complain(std::string("standard input: ") + error.what());
      return false;
    }
  }

  bool open_;
  std::string text_;  // of a line that is not whole yet
  int number_ = 0;
};

// Runs script lines as they come. False when one was in error.
bool WaitForEnd(int signals, int end, bool script_from_input,
                VirtualReader* reader) {
  bool good = true;
  ScriptInput input(script_from_input);
  while (true) {
    pollfd fds[] = {
        {signals, POLLIN, 0}, {end, POLLIN, 0}, {input.Fd(), POLLIN, 0}};
    poll(fds, std::size(fds), -1);
    if (fds[0].revents != 0 || fds[1].revents != 0) return good;
    if (fds[2].revents != 0) good = input.Take(reader) && good;
  }
}

}  // namespace

bool Serve(const ServingOptions& options) {
  const Descriptor signals(BlockEndSignals());
  const Descriptor end(eventfd(0, EFD_CLOEXEC));
  if (signals.Get() < 0 || end.Get() < 0) Fail("signals");
  std::unique_ptr<TraceLog> trace;
  if (options.traces) trace = std::make_unique<TraceLog>(options.trace_path);

  size_t reported = 0;
  Options reader_options;
  reader_options.baud = options.baud;
  reader_options.fingers = options.fingers;
  reader_options.keeps_trace = false;  // it would grow for days
  if (trace) {
    reader_options.on_transfer = [&](const Transfer& t) { trace->Write(t); };
  }
  reader_options.on_error = [&](const std::string& error) {
    ++reported;
    Complain(error);
  };
  reader_options.on_end = [&] { eventfd_write(end.Get(), 1); };
  VirtualReader reader(reader_options);
  const PortLink link(options.link_path, reader.PortName());
  reader.Run(options.script);

  puts(reader.PortName().c_str());
  fflush(stdout);
  const bool good =
      WaitForEnd(signals.Get(), end.Get(), options.script_from_input, &reader);
  // A request may be on its way still.
  const auto errors = reader.Errors();
  for (; reported < errors.size(); ++reported) Complain(errors[reported]);
  return good && errors.empty();
}

}  // namespace corvex::vreader
