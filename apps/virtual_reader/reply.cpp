#include "virtual_reader/reply.h"

#include <algorithm>
#include <cctype>

#include "virtual_reader/request.h"

namespace corvex::vreader {
namespace {

void Append(Bytes* to, const Bytes& bytes) {
  to->insert(to->end(), bytes.begin(), bytes.end());
}

// Everything behind the start mark.
Bytes FrameBody(const Reply& reply, const Fault& fault) {
  const uint8_t status = fault.status.value_or(reply.status);
  const Bytes data = fault.status ? Bytes{} : reply.data;
  const auto size = static_cast<uint32_t>(data.size());
  Bytes body = {fault.echo.value_or(reply.command), status,
                fault.marker.value_or(kFrameMarker)};
  Append(&body, LittleEndian(fault.length.value_or(size)));
  Append(&body, data);
  if (!data.empty()) {
    Append(&body, LittleEndian(fault.crc.value_or(CheckValue(data))));
  }
  return body;
}

void Spoil(std::string* text, const Fault& fault) {
  if (fault.lower_case) {
    for (char& c : *text) {
      c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
  }
  if (fault.flip_at && *fault.flip_at < text->size()) {
    char& c = (*text)[*fault.flip_at];
    c = static_cast<char>(c ^ (1 << fault.flip_bit));
  }
  if (fault.double_at && *fault.double_at < text->size()) {
    text->insert(*fault.double_at, 1, (*text)[*fault.double_at]);
  }
  if (fault.truncate_at && *fault.truncate_at < text->size()) {
    text->resize(*fault.truncate_at);
  }
}

std::vector<Piece> Singly(const std::string& text,
                          std::chrono::microseconds first_wait,
                          std::chrono::microseconds each_wait) {
  std::vector<Piece> pieces;
  for (const char c : text) {
    pieces.push_back({each_wait, std::string(1, c)});
  }
  if (!pieces.empty()) pieces.front().wait += first_wait;
  return pieces;
}

}  // namespace

std::string FrameText(const Reply& reply, const Fault& fault) {
  std::string text(1, static_cast<char>(fault.mark.value_or(kStartMark)));
  text += ToHex(FrameBody(reply, fault));
  Spoil(&text, fault);
  return fault.garbage + text;
}

std::chrono::microseconds CharacterTime(int baud) {
  constexpr int kBitsPerCharacter = 10;
  if (baud <= 0) return std::chrono::microseconds(0);
  return std::chrono::microseconds(kBitsPerCharacter * 1000000 / baud);
}

Delivery Deliver(std::string text, const Fault& fault) {
  Delivery delivery;
  if (fault.silence) return delivery;
  if (fault.hang_up_at) {
    text.resize(std::min(*fault.hang_up_at, text.size()));
    delivery.hangs_up = true;
  }
  if (fault.dribble.count() > 0) {
    delivery.pieces = Singly(text, fault.delay, fault.dribble);
  } else {
    delivery.pieces.push_back({fault.delay, std::move(text)});
  }
  return delivery;
}

Delivery Pace(Delivery delivery, int baud, size_t request_chars) {
  const auto each = CharacterTime(baud);
  if (each.count() == 0) return delivery;
  Delivery paced;
  paced.hangs_up = delivery.hangs_up;
  auto lead = each * static_cast<int64_t>(request_chars);
  for (const Piece& piece : delivery.pieces) {
    auto singles = Singly(piece.text, lead + piece.wait, each);
    std::move(singles.begin(), singles.end(), std::back_inserter(paced.pieces));
    lead = singles.empty() ? lead + piece.wait : std::chrono::microseconds(0);
  }
  return paced;
}

}  // namespace corvex::vreader
