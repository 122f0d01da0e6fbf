// The receiving side: cuts what the host sent into requests and says what is
// wrong with the malformed ones.
#ifndef APPS_VIRTUAL_READER_REQUEST_H_
#define APPS_VIRTUAL_READER_REQUEST_H_

#include <optional>
#include <string>

#include "virtual_reader/bytes.h"

namespace corvex::vreader {

constexpr uint8_t kFrameMarker = 0x16;
constexpr char kStartMark = '~';

struct Request {
  enum class Kind {
    kNoise,     // no frame, or one that broke off: nothing to answer
    kSelector,  // for the switch box in front of the reader
    kFrame,     // has its full length, so the reader can answer it
  };
  Kind kind = Kind::kNoise;
  std::string text;     // as it came over the line
  std::string problem;  // empty when well-formed
  uint8_t command = 0;  // of a frame
  Bytes payload;        // of a frame

  // The problem together with the text, for people.
  std::string Error() const { return Printable(text) + ": " + problem; }
};

// Takes the next request out of what came over the line; nothing while it is
// incomplete.
std::optional<Request> TakeRequest(std::string* pending);

// What the beginning of a request amounts to when no more of it comes.
Request BrokenOff(std::string text);

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_REQUEST_H_
