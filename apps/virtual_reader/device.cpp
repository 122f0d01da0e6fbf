#include "virtual_reader/device.h"

#include <algorithm>
#include <utility>

namespace corvex::vreader {

Device::Device(Bytes version, Bytes serial, FingerBook book)
    : version_(std::move(version)),
      serial_(std::move(serial)),
      book_(std::move(book)) {}

void Device::Press(const std::string& finger, int impression) {
  auto record = book_.Find(finger, impression);
  if (record) finger_ = Finger{finger, impression, std::move(*record)};
}

void Device::Press(Bytes record) { finger_ = Finger{"", 0, std::move(record)}; }

Bytes Device::NextImpression() {
  if (finger_->name.empty() || finger_->impression != 0) {
    return finger_->record;
  }
  int& last = last_impression_[finger_->name];
  last = book_.Following(finger_->name, last);
  return book_.Find(finger_->name, last).value_or(finger_->record);
}

void Device::Capture(Reply* reply) {
  if (!finger_) {
    reply->status = kStatusNoFinger;
    return;
  }
  ++tally_.captures;
  reply->data = NextImpression();
}

void Device::Obey(const Command& command, const Request& request,
                  Reply* reply) {
  ++tally_.requests;
  switch (command.action) {
    case Action::kVersion:
      reply->data = version_;
      break;
    case Action::kSpeed:
      speed_ = request.payload[0];
      break;
    case Action::kProbe:
      ++tally_.probes;
      if (!finger_) reply->status = kStatusNoFinger;
      break;
    case Action::kCapture:
      Capture(reply);
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

std::optional<Reply> Device::Answer(Request* request) {
  if (request->kind == Request::Kind::kSelector) {
    if (!request->problem.empty()) return std::nullopt;
    selector_ = request->text.back();
    ++tally_.selectors;
    return std::nullopt;
  }
  if (request->kind == Request::Kind::kNoise) return std::nullopt;
  Reply reply;
  reply.command = request->command;
  const Command* const command =
      FindCommand(request->command, request->payload);
  if (request->problem.empty() && command != nullptr) {
    Obey(*command, *request, &reply);
    return reply;
  }
  if (request->problem.empty()) {
    request->problem = IsKnownCode(request->command)
                           ? "a payload that this command does not have"
                           : "an unknown command";
  }
  reply.status = kStatusRefused;
  return reply;
}

Fault Device::TakeFault(const Request& request) {
  const Command* const command = FindCommand(request.command, request.payload);
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
