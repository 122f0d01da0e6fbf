// What the reader and the switch box in front of it know and answer. No line,
// no time, no threads: a request goes in, a reply comes out.
#ifndef APPS_VIRTUAL_READER_DEVICE_H_
#define APPS_VIRTUAL_READER_DEVICE_H_

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "virtual_reader/fingers.h"
#include "virtual_reader/reply.h"
#include "virtual_reader/request.h"

namespace corvex::vreader {

// A request that the reader knows; null when there is none.
const Command* FindCommand(std::string_view name);

// What has happened so far.
struct Tally {
  int requests = 0;  // well-formed ones, the switch box's not counted
  int probes = 0;
  int captures = 0;  // that delivered a record
  int beeps = 0;
  int leds = 0;
  int selectors = 0;
  char selector = 0;  // the letter that the switch box got last; 0: none
  int speed = -1;     // the index that the reader got last; -1: none
};

class Device {
 public:
  Device(Bytes version, Bytes serial, FingerBook book)
      : version_(std::move(version)),
        serial_(std::move(serial)),
        book_(std::move(book)) {}

  // A finger of the book; impression 0 gives a new one at every capture.
  void Press(const std::string& finger, int impression) {
    finger_ = Finger{finger, impression};
  }
  void Lift() { finger_.reset(); }

  void SetVersion(Bytes version) { version_ = std::move(version); }
  void SetSerial(Bytes serial) { serial_ = std::move(serial); }
  void Arm(Fault fault) { armed_.push_back(std::move(fault)); }
  FingerBook& book() { return book_; }

  // The reader's end: with the line's, or without.
  void Unplug() { unplugged_ = quit_ = true; }
  void Quit() { quit_ = true; }
  bool Unplugged() const { return unplugged_; }
  bool HasQuit() const { return quit_; }

  // The answer, spoiled by the first armed fault that fits, which is then used
  // up. A request that the reader does not understand gets `problem` and, when
  // it is a frame, a refusal.
  Delivery Answer(Request* request);

  const Tally& tally() const { return tally_; }

 private:
  struct Finger {
    std::string name;
    int impression;
  };
  void Obey(const Command& command, const Bytes& payload, Reply* reply);
  Bytes Capture();
  Fault TakeFault(const Command* command);

  Bytes version_;
  Bytes serial_;
  FingerBook book_;
  std::optional<Finger> finger_;
  std::map<std::string, int> last_impression_;
  std::deque<Fault> armed_;
  Tally tally_;
  bool unplugged_ = false;
  bool quit_ = false;
};

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_DEVICE_H_
