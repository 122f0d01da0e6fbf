// The sending side: builds a reply, spoils it as asked, and lays its bytes out
// in time.
#ifndef APPS_VIRTUAL_READER_REPLY_H_
#define APPS_VIRTUAL_READER_REPLY_H_

#include <chrono>
#include <optional>
#include <string>

#include "virtual_reader/bytes.h"
#include "virtual_reader/commands.h"

namespace corvex::vreader {

constexpr uint8_t kStatusOk = 0;
constexpr uint8_t kStatusRefused = 1;
constexpr uint8_t kStatusNoFinger = 7;

struct Reply {
  uint8_t command = 0;
  uint8_t status = kStatusOk;
  Bytes data;
};

// What goes wrong with one reply. Positions count the characters of the frame
// from its start mark, at 0; those beyond its end change nothing.
struct Fault {
  const Command* only = nullptr;  // null: whatever is replied to next

  bool silence = false;
  std::optional<uint8_t> echo, status, marker;  // status: also drops the data
  std::optional<uint32_t> length, crc;
  std::optional<uint8_t> mark;
  bool lower_case = false;
  std::optional<size_t> flip_at;
  int flip_bit = 0;
  std::optional<size_t> double_at;
  std::optional<size_t> truncate_at;  // characters that are left
  std::string garbage;                // sent before the frame
  std::chrono::milliseconds delay{0};
  std::chrono::milliseconds dribble{0};  // pause before every character
  std::optional<size_t> hang_up_at;      // characters sent before it
};

// The text of a reply on the line, with what the fault does to its characters.
std::string FrameText(const Reply& reply, const Fault& fault = {});

// One write to the line, `wait` after the one before.
struct Piece {
  std::chrono::microseconds wait{0};
  std::string text;
};

struct Delivery {
  std::vector<Piece> pieces;
  bool hangs_up = false;  // after the last piece
};

// Time that one character takes at `baud` bits a second: a start bit, eight
// data bits, a stop bit. 0 baud takes none.
std::chrono::microseconds CharacterTime(int baud);

// Splits the pieces into single characters as a line of that speed would. The
// reply begins when the request is through, `request_chars` after its start.
Delivery Pace(Delivery delivery, int baud, size_t request_chars);

// When the characters of a reply leave, on an infinitely fast line.
Delivery Deliver(std::string text, const Fault& fault);

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_REPLY_H_
