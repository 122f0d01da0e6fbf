// A reader on a pseudo-terminal, for programs that have no hardware at hand.
//
//   VirtualReader reader;
//   reader.Run("press 12 1; flip 20 on capture");
//   FG_GetDevVersion(reader.PortName().c_str(), "", 9600, text);
//
// It speaks the whole protocol, remembers what it was asked, and names every
// request that a real reader would not understand. A thread of its own serves
// the line; all functions may be called from any thread. What a host wrote
// before a query is part of the query's answer: tests need no sleep.
#ifndef APPS_VIRTUAL_READER_VIRTUAL_READER_H_
#define APPS_VIRTUAL_READER_VIRTUAL_READER_H_

#include <termios.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "virtual_reader/device.h"
#include "virtual_reader/pseudo_terminal.h"
#include "virtual_reader/script.h"

namespace corvex::vreader {

struct Transfer {
  enum class Direction { kToReader, kToHost };
  Direction direction;
  std::chrono::microseconds time;  // since the reader's start
  std::string text;
};

struct Options {
  int baud = 0;  // 0: as fast as possible
  Bytes version = {2, 15};
  std::string serial = "CX1206A0001900004711000042240315";
  FingerBook fingers;       // without more ado: all the synthetic ones
  bool keeps_trace = true;  // off: Trace() and Requests() stay empty
  // Called from the reader's thread; must not call the reader.
  std::function<void(const Transfer&)> on_transfer;
  std::function<void(const std::string&)> on_error;
  std::function<void()> on_end;  // the script has said quit or unplug
};

class VirtualReader {
 public:
  // The answer to one literal request, built piece by piece. An exchange
  // without a reply is silence.
  class Exchange {
   public:
    Exchange(VirtualReader* reader, std::string request)
        : reader_(reader), request_(std::move(request)) {}
    Exchange& Reply(const std::string& text);

   private:
    VirtualReader* reader_;
    std::string request_;
  };

  explicit VirtualReader(Options options = {});
  ~VirtualReader();
  VirtualReader(const VirtualReader&) = delete;
  VirtualReader& operator=(const VirtualReader&) = delete;

  // The name below /dev, such as "pts/7".
  const std::string& PortName() const { return terminal_.Name(); }

  // Adds script lines behind those that are not done yet. Throws
  // std::invalid_argument, and adds none, when one has an error or names a
  // finger that the reader does not have. For messages, lines count from
  // `first_line`.
  void Run(std::string_view script, int first_line = 1);

  // From now on this text, to the last character, gets the exchange's answer
  // and is no error whatever it is. Replaces an earlier one for the same text.
  Exchange On(std::string request);

  // A record for scripts to press.
  void AddRecord(const std::string& finger, int impression, Bytes record);

  // At once: this record lies on the sensor, or nothing does.
  void Press(Bytes record);
  void Lift();

  std::vector<std::string> Requests() const;
  std::vector<Transfer> Trace() const;
  // What a real reader would not have understood, oldest first.
  std::vector<std::string> Errors() const;
  Tally Counts() const;
  int Beeps() const { return Counts().beeps; }
  // The switch box's letter; 0 when none came.
  char Selector() const { return Counts().selector; }
  // The speed index; -1 when none came.
  int Speed() const { return Counts().speed; }

  // The settings of the host's side of the line.
  termios TerminalSettings() const { return terminal_.Settings(); }

 private:
  using Lock = std::unique_lock<std::mutex>;

  Lock Settle() const;

  // The thread's. It holds the lock, but not while it waits.
  void Serve();
  bool AwaitInput(Lock* lock);
  void Receive(Lock* lock);
  void Handle(Request request, Lock* lock);
  void Send(const Delivery& delivery, size_t request_chars, Lock* lock);
  void Write(std::string_view text, Lock* lock);
  bool SleepUntil(TimePoint due, Lock* lock);
  void AwaitHostRead(Lock* lock);
  void Record(Transfer::Direction direction, const std::string& text);

  const Options options_;
  const TimePoint start_;
  const Descriptor wake_;  // eventfd: a query or the end has come
  PseudoTerminal terminal_;

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;  // answered_ or stopping_
  mutable uint64_t queries_ = 0;
  uint64_t answered_ = 0;  // of them
  bool stopping_ = false;
  Device device_;
  Timeline timeline_;
  std::map<std::string, std::string> canned_;
  std::string pending_;  // the beginning of a request
  TimePoint request_start_;
  TimePoint last_input_;
  std::vector<Transfer> trace_;
  std::vector<std::string> errors_;
  bool ended_ = false;

  std::thread thread_;  // last: it uses all of the above
};

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_VIRTUAL_READER_H_
