#include "virtual_reader/device.h"

#include <algorithm>
#include <utility>

namespace corvex::vreader {

enum class Action { kVersion, kSpeed, kProbe, kCapture, kSerial, kLed, kBeep };

struct Command {
  std::string_view name;     // in scripts
  std::string_view payload;  // hex; the first byte is the least one allowed
  Action action;
  uint8_t code;
  uint8_t first_max;  // the greatest first byte
};

namespace {

constexpr uint8_t kStatusRefused = 1;
constexpr uint8_t kStatusNoFinger = 7;

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

}  // namespace

const Command* FindCommand(std::string_view name) {
  return FindNamed(kCommands, name);
}

Bytes Device::Capture() {
  ++tally_.captures;
  const std::string& name = finger_->name;
  int impression = finger_->impression;
  if (impression == 0) {
    int& last = last_impression_[name];
    impression = last = book_.Following(name, last);
  }
  return book_.Find(name, impression).value_or(Bytes{});
}

void Device::Obey(const Command& command, const Bytes& payload, Reply* reply) {
  ++tally_.requests;
  switch (command.action) {
    case Action::kVersion:
      reply->data = version_;
      break;
    case Action::kSpeed:
      tally_.speed = payload[0];
      break;
    case Action::kProbe:
      ++tally_.probes;
      if (!finger_) reply->status = kStatusNoFinger;
      break;
    case Action::kCapture:
      if (!finger_) {
        reply->status = kStatusNoFinger;
      } else {
        reply->data = Capture();
      }
      break;
    case Action::kSerial:
      reply->data = serial_;
      break;
    case Action::kLed:
      ++tally_.leds;
      break;
    case Action::kBeep:
      ++tally_.beeps;
      break;
  }
}

Delivery Device::Answer(Request* request) {
  if (request->kind == Request::Kind::kSelector) {
    tally_.selector = request->text.back();
    ++tally_.selectors;
  }
  if (request->kind != Request::Kind::kFrame) return {};
  Reply reply;
  reply.command = request->command;
  const auto has_code = [&](const Command& c) {
    return c.code == request->command;
  };
  const Command* const command = FindIf(kCommands, [&](const Command& c) {
    return has_code(c) && Accepts(c, request->payload);
  });
  if (request->problem.empty() && command == nullptr) {
    request->problem = FindIf(kCommands, has_code) != nullptr
                           ? "a payload that this command does not have"
                           : "an unknown command";
  }
  if (request->problem.empty()) {
    Obey(*command, request->payload, &reply);
  } else {
    reply.status = kStatusRefused;
  }
  return Deliver(reply, TakeFault(command));
}

Fault Device::TakeFault(const Command* command) {
  const auto fits = [&](const Fault& fault) {
    return fault.only == nullptr || fault.only == command;
  };
  const auto found = std::find_if(armed_.begin(), armed_.end(), fits);
  if (found == armed_.end()) return {};
  Fault fault = std::move(*found);
  armed_.erase(found);
  return fault;
}

}  // namespace corvex::vreader
