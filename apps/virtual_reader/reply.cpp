#include "virtual_reader/reply.h"

#include <algorithm>
#include <cctype>

#include "virtual_reader/request.h"

namespace corvex::vreader {
namespace {

std::string FrameText(const Reply& reply, const Fault& fault) {
  const auto byte = [](Fault::Number number, uint8_t otherwise) {
    return static_cast<uint8_t>(number.value_or(otherwise));
  };
  const auto append = [](Bytes* to, const Bytes& bytes) {
    to->insert(to->end(), bytes.begin(), bytes.end());
  };
  const Bytes data = fault.status ? Bytes{} : reply.data;
  const auto size = static_cast<uint32_t>(data.size());
  Bytes body = {byte(fault.echo, reply.command),
                byte(fault.status, reply.status),
                byte(fault.marker, kFrameMarker)};
  append(&body, LittleEndian(fault.length.value_or(size)));
  append(&body, data);
  if (!data.empty()) {
    append(&body, LittleEndian(fault.crc.value_or(CheckValue(data))));
  }
  return static_cast<char>(byte(fault.mark, kStartMark)) + ToHex(body);
}

void Spoil(std::string* text, const Fault& fault) {
  const auto within = [text](Fault::Number at) {
    return at && *at < text->size();
  };
  if (fault.lower_case) {
    std::transform(text->begin(), text->end(), text->begin(), [](uint8_t c) {
      return static_cast<char>(std::tolower(c));
    });
  }
  if (within(fault.flip_at)) {
    char& c = (*text)[*fault.flip_at];
    c = static_cast<char>(c ^ (1 << fault.flip_bit));
  }
  if (within(fault.double_at)) {
    text->insert(*fault.double_at, 1, (*text)[*fault.double_at]);
  }
  if (within(fault.truncate_at)) text->resize(*fault.truncate_at);
  text->insert(0, fault.garbage);
  if (within(fault.hang_up_at)) text->resize(*fault.hang_up_at);
}

}  // namespace

Delivery Deliver(const Reply& reply, const Fault& fault) {
  if (fault.silence) return {};
  std::string text = FrameText(reply, fault);
  Spoil(&text, fault);
  return {text, std::chrono::milliseconds(fault.delay.value_or(0)),
          std::chrono::milliseconds(fault.dribble.value_or(0)),
          fault.hang_up_at.has_value()};
}

}  // namespace corvex::vreader
