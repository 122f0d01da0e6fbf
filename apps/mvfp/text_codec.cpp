#include "text_codec.h"

#include <algorithm>
#include <string_view>

namespace corvex::mvfp {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr size_t kGroup = 4;
constexpr char kPad = '=';

// How many characters of the group count, at most four.
size_t ReadGroup(std::string_view group, unsigned* bits) {
  size_t taken = 0;
  *bits = 0;
  for (size_t i = 0; i < kGroup; ++i) {
    const size_t value =
        taken == i ? kAlphabet.find(group[i]) : std::string_view::npos;
    if (value != std::string_view::npos) ++taken;
    *bits = *bits << 6 |
            static_cast<unsigned>(value == std::string_view::npos ? 0 : value);
  }
  return taken;
}

// A last group may end in one or two pads, and nothing may follow it.
bool IsPadding(std::string_view rest) { return rest == "=" || rest == "=="; }

int HexValue(char c) {
  constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
  const size_t at = kDigits.find(c);
  if (at == std::string_view::npos) return -1;
  return static_cast<int>(at < 16 ? at : at - 6);
}

}  // namespace

Decoded DecodeBase64(const std::string& text) {
  Decoded decoded{{}, text.size()};
  const std::string_view view = text;
  for (size_t at = 0; at + kGroup <= view.size(); at += kGroup) {
    unsigned bits = 0;
    const size_t taken = ReadGroup(view.substr(at, kGroup), &bits);
    for (size_t i = 1; i < taken; ++i) {
      decoded.bytes.push_back(static_cast<uint8_t>(bits >> (24 - 8 * i)));
    }
    if (taken == kGroup) continue;
    if (!IsPadding(view.substr(at + taken))) decoded.stopped_at = at + taken;
    break;
  }
  return decoded;
}

std::string EncodeBase64(const std::vector<uint8_t>& bytes) {
  std::string text;
  for (size_t at = 0; at < bytes.size(); at += 3) {
    const size_t count = std::min<size_t>(3, bytes.size() - at);
    unsigned bits = 0;
    for (size_t i = 0; i < 3; ++i) {
      bits = bits << 8 | (i < count ? bytes[at + i] : 0U);
    }
    for (size_t i = 0; i < kGroup; ++i) {
      text += i <= count ? kAlphabet[bits >> (18 - 6 * i) & 63] : kPad;
    }
  }
  return text;
}

Decoded DecodeHex(const std::string& text) {
  Decoded decoded{{}, text.size()};
  for (size_t at = 0; at < text.size(); at += 2) {
    const int high = HexValue(text[at]);
    const int low = at + 1 < text.size() ? HexValue(text[at + 1]) : -1;
    if (high < 0 || low < 0) {
      decoded.stopped_at = at;
      break;
    }
    decoded.bytes.push_back(static_cast<uint8_t>(high << 4 | low));
  }
  return decoded;
}

}  // namespace corvex::mvfp
