// The sending side: builds a reply and spoils it as asked.
#ifndef APPS_VIRTUAL_READER_REPLY_H_
#define APPS_VIRTUAL_READER_REPLY_H_

#include <chrono>
#include <optional>
#include <string>

#include "virtual_reader/bytes.h"

namespace corvex::vreader {

struct Command;  // see device.h

struct Reply {
  uint8_t command = 0;
  uint8_t status = 0;
  Bytes data;
};

// What goes wrong with one reply. Positions count the characters of the frame
// from its start mark, at 0; those beyond its end change nothing.
struct Fault {
  using Number = std::optional<uint32_t>;

  const Command* only = nullptr;  // null: whatever is replied to next

  Number silence, lower_case;  // whatever their number
  Number mark, echo, marker, length, crc;
  Number status;  // also drops the data
  Number flip_at, double_at;
  uint32_t flip_bit = 0;
  Number truncate_at;     // characters that are left
  std::string garbage;    // sent before the frame
  Number delay, dribble;  // milliseconds: before the reply, each character
  Number hang_up_at;      // characters sent before it
};

// What is sent, and when.
struct Delivery {
  std::string text;  // empty: the reader stays silent
  std::chrono::milliseconds delay{0};
  std::chrono::milliseconds dribble{0};  // before every character
  bool hangs_up = false;                 // after the last one
};

Delivery Deliver(const Reply& reply, const Fault& fault);

// Time that one character takes at `baud` bits a second: a start bit, eight
// data bits, a stop bit. 0 baud takes none.
constexpr std::chrono::microseconds CharacterTime(int baud) {
  constexpr int kBitsPerCharacter = 10;
  return std::chrono::microseconds(baud > 0 ? kBitsPerCharacter * 1000000 / baud
                                            : 0);
}

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_REPLY_H_
