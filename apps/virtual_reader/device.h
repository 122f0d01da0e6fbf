// What the reader and the switch box in front of it know and answer. No line,
// no time, no threads: a request goes in, a reply comes out.
#ifndef APPS_VIRTUAL_READER_DEVICE_H_
#define APPS_VIRTUAL_READER_DEVICE_H_

#include <deque>
#include <map>
#include <optional>
#include <string>

#include "virtual_reader/finger_book.h"
#include "virtual_reader/reply.h"
#include "virtual_reader/request.h"

namespace corvex::vreader {

// What has happened so far.
struct Tally {
  int requests = 0;  // well-formed ones, the switch box's not counted
  int probes = 0;
  int captures = 0;  // that delivered a record
  int beeps = 0;
  int leds = 0;
  int selectors = 0;
};

class Device {
 public:
  Device(Bytes version, Bytes serial, FingerBook book);

  // A finger of the book; impression 0 gives a new one at every capture.
  // Nothing changes when the book does not hold it.
  void Press(const std::string& finger, int impression);
  void Press(Bytes record);
  void Lift() { finger_.reset(); }

  void SetVersion(Bytes version) { version_ = std::move(version); }
  void SetSerial(Bytes serial) { serial_ = std::move(serial); }
  void Arm(Fault fault) { armed_.push_back(std::move(fault)); }
  FingerBook& book() { return book_; }

  // Nothing when the reader stays silent. A request that it does not
  // understand gets `problem` and, when it is a frame, a refusal.
  std::optional<Reply> Answer(Request* request);

  // The first armed fault that fits the reply to this request, used up by it.
  Fault TakeFault(const Request& request);

  const Tally& tally() const { return tally_; }
  // The letter that the switch box got last; 0 when none.
  char selector() const { return selector_; }
  // The index that the reader got last; -1 when none.
  int speed() const { return speed_; }

 private:
  struct Finger {
    std::string name;  // empty: the record itself
    int impression = 0;
    Bytes record;
  };
  void Obey(const Command& command, const Request& request, Reply* reply);
  void Capture(Reply* reply);
  Bytes NextImpression();

  Bytes version_;
  Bytes serial_;
  FingerBook book_;
  std::optional<Finger> finger_;
  std::map<std::string, int> last_impression_;
  std::deque<Fault> armed_;
  Tally tally_;
  char selector_ = 0;
  int speed_ = -1;
};

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_DEVICE_H_
