// The receiving side: cuts what the host sent into requests and says what is
// wrong with the malformed ones.
#ifndef APPS_VIRTUAL_READER_REQUEST_H_
#define APPS_VIRTUAL_READER_REQUEST_H_

#include <optional>
#include <string>
#include <string_view>

#include "virtual_reader/bytes.h"

namespace corvex::vreader {

constexpr uint8_t kFrameMarker = 0x16;
constexpr char kStartMark = '~';
constexpr char kEscape = '\x1B';

struct Request {
  enum class Kind {
    kFrame,     // has its full length, so the reader can answer it
    kSelector,  // for the switch box in front of the reader
    kNoise,     // no frame, or one that broke off: nothing to answer
  };
  Kind kind = Kind::kNoise;
  std::string text;     // as it came over the line
  std::string problem;  // empty when well-formed
  uint8_t command = 0;  // of a frame
  Bytes payload;        // of a frame

  // The problem together with the text, for people.
  std::string Error() const { return Printable(text) + ": " + problem; }
};

class RequestScanner {
 public:
  void Feed(std::string_view received) { pending_ += received; }

  // The next whole request; nothing while one is incomplete.
  std::optional<Request> Next();

  // What an incomplete request amounts to when no more of it comes. Does not
  // take it out.
  std::optional<Request> Incomplete() const;
  void DropIncomplete() { pending_.clear(); }

 private:
  Request Take(Request::Kind kind, size_t length, std::string problem);
  std::optional<Request> NextSelector();
  std::optional<Request> NextFrame();
  Request NextNoise();
  std::optional<Request> BrokenOff(size_t length);

  std::string pending_;
};

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_REQUEST_H_
