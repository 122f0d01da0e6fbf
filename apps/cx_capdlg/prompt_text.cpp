#include "cx_capdlg/prompt_text.h"

#include <cstdint>
#include <cstring>

namespace corvex {
namespace {

constexpr const char* kPressWords[kPresses] = {"第一次", "第二次", "第三次"};
// Bytes of the text within its field. A text that fills the field runs on
// behind it: its last character may be cut there, and goes.
size_t FieldLength(const smo_data_t& record) {
  size_t length = strnlen(record.msg_text, sizeof record.msg_text);
  if (length < sizeof record.msg_text) return length;
  const auto continues = [&](size_t at) {
    return (static_cast<uint8_t>(record.msg_text[at]) & 0xC0) == 0x80;
  };
  while (length > 1 && continues(length - 1)) --length;
  return length - 1;
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
  return Trim(std::string(record.msg_text, FieldLength(record)));
}

}  // namespace corvex
