// The requests that the reader knows, each with the payload it insists on.
#ifndef APPS_VIRTUAL_READER_COMMANDS_H_
#define APPS_VIRTUAL_READER_COMMANDS_H_

#include <string_view>

#include "virtual_reader/bytes.h"

namespace corvex::vreader {

enum class Action { kVersion, kSpeed, kProbe, kCapture, kSerial, kLed, kBeep };

struct Command {
  std::string_view name;     // in scripts and messages
  std::string_view payload;  // hex; the first byte is the least one allowed
  Action action;
  uint8_t code;
  uint8_t first_max;  // the greatest first byte
};

// Null when there is none.
const Command* FindCommand(std::string_view name);
const Command* FindCommand(uint8_t code, const Bytes& payload);

// Whether any command has this code, whatever its payload.
bool IsKnownCode(uint8_t code);

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_COMMANDS_H_
