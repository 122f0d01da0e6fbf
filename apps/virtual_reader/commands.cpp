#include "virtual_reader/commands.h"

#include <algorithm>
#include <iterator>

namespace corvex::vreader {
namespace {

constexpr Command kCommands[] = {
    {"version", "", Action::kVersion, 0x10, 0x00},
    {"speed", "00", Action::kSpeed, 0x12, 0x07},
    {"probe", "00", Action::kProbe, 0x13, 0x00},
    {"capture", "01", Action::kCapture, 0x14, 0x01},
    {"serial", "0E000032000000", Action::kSerial, 0x15, 0x0E},
    {"led", "000A", Action::kLed, 0x17, 0x00},
    {"beep", "010A", Action::kBeep, 0x17, 0x01},
};

bool Accepts(const Command& command, const Bytes& payload) {
  const Bytes wanted = *FromHex(command.payload);
  if (payload.size() != wanted.size()) return false;
  if (wanted.empty()) return true;
  return payload[0] >= wanted[0] && payload[0] <= command.first_max &&
         std::equal(wanted.begin() + 1, wanted.end(), payload.begin() + 1);
}

template <typename Predicate>
const Command* FindIf(Predicate predicate) {
  const Command* const found =
      std::find_if(std::begin(kCommands), std::end(kCommands), predicate);
  return found == std::end(kCommands) ? nullptr : found;
}

}  // namespace

const Command* FindCommand(std::string_view name) {
  return FindIf([&](const Command& c) { return c.name == name; });
}

const Command* FindCommand(uint8_t code, const Bytes& payload) {
  return FindIf(
      [&](const Command& c) { return c.code == code && Accepts(c, payload); });
}

bool IsKnownCode(uint8_t code) {
  return FindIf([&](const Command& c) { return c.code == code; }) != nullptr;
}

}  // namespace corvex::vreader
