#include "cx_capdlg/prompt_text.h"

#include <cstdint>
#include <cstring>

namespace corvex {
namespace {

constexpr const char* kPressWords[kPresses] = {"第一次", "第二次", "第三次"};
constexpr char kReplacement[] = "\xEF\xBF\xBD";

// Bytes of the UTF-8 character at the front of `text`, 0 when there is none.
size_t CharacterLength(const std::string& text, size_t at) {
  struct Form {
    uint8_t mask, mark;
    size_t length;
    uint32_t least;
  };
  static constexpr Form kForms[] = {{0x80, 0x00, 1, 0},
                                    {0xE0, 0xC0, 2, 0x80},
                                    {0xF0, 0xE0, 3, 0x800},
                                    {0xF8, 0xF0, 4, 0x10000}};
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  for (const Form& form : kForms) {
    if ((byte(at) & form.mask) != form.mark) continue;
    if (at + form.length > text.size()) return 0;
    uint32_t code = byte(at) & static_cast<uint8_t>(~form.mask);
    for (size_t i = 1; i < form.length; ++i) {
      if ((byte(at + i) & 0xC0) != 0x80) return 0;
      code = code << 6 | (byte(at + i) & 0x3F);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < form.least || code > 0x10FFFF || surrogate ? 0 : form.length;
  }
  return 0;
}

// A character that the cut left without its end is left out.
bool IsCutCharacter(const std::string& text, size_t at) {
  if (text.size() - at > 3 || static_cast<uint8_t>(text[at]) < 0xC2) {
    return false;
  }
  for (size_t i = at + 1; i < text.size(); ++i) {
    if ((static_cast<uint8_t>(text[i]) & 0xC0) != 0x80) return false;
  }
  return true;
}

bool IsControl(const std::string& text, size_t at) {
  const auto byte = static_cast<uint8_t>(text[at]);
  return byte < 0x20 || byte == 0x7F;
}

std::string Trim(const std::string& text) {
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

int PressOf(const std::string& text) {
  for (int press = 1; press <= kPresses; ++press) {
    const std::string known =
        std::string("请您") + kPressWords[press - 1] + "按捺手指...";
    if (text == known) return press;
  }
  return 0;
}

std::string ShownText(const smo_data_t& record) {
  const std::string raw(record.msg_text,
                        strnlen(record.msg_text, sizeof record.msg_text));
  const bool cut = raw.size() == sizeof record.msg_text;
  std::string shown;
  for (size_t at = 0; at < raw.size();) {
    const size_t length = CharacterLength(raw, at);
    if (length == 0) {
      if (cut && IsCutCharacter(raw, at)) break;
      shown += kReplacement;
      ++at;
    } else {
      shown += IsControl(raw, at) ? " " : raw.substr(at, length);
      at += length;
    }
  }
  return Trim(shown);
}

}  // namespace corvex
