#include "virtual_reader/commands.h"

#include <algorithm>
#include <iterator>

namespace corvex::vreader {
namespace {

constexpr Command kCommands[] = {
    {Action::kVersion, "version", 0x10, "", 0x00},
    {Action::kSpeed, "speed", 0x12, "00", 0x07},
    {Action::kProbe, "probe", 0x13, "00", 0x00},
    {Action::kCapture, "capture", 0x14, "01", 0x01},
    {Action::kSerial, "serial", 0x15, "0E000032000000", 0x0E},
    {Action::kLed, "led", 0x17, "000A", 0x00},
    {Action::kBeep, "beep", 0x17, "010A", 0x01},
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
