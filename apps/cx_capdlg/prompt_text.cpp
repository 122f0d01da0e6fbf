#include "cx_capdlg/prompt_text.h"

#include <cstring>

namespace corvex {
namespace {

constexpr const char* kTexts[kPresses] = {
    "请您第一次按捺手指...", "请您第二次按捺手指...", "请您第三次按捺手指..."};

bool ContinuesCharacter(char byte) { return (byte & 0xC0) == 0x80; }

}  // namespace

int PressOf(const std::string& text) {
  for (int i = 0; i < kPresses; ++i) {
    if (text == kTexts[i]) return i + 1;
  }
  return 0;
}

// A text that fills its field runs on behind it: its last character may be cut
// there, and goes.
std::string ShownText(const smo_data_t& record) {
  std::string text(record.msg_text,
                   strnlen(record.msg_text, sizeof record.msg_text));
  if (text.size() == sizeof record.msg_text) {
    while (text.size() > 1 && ContinuesCharacter(text.back())) text.pop_back();
    text.pop_back();
  }
  text.erase(text.find_last_not_of(' ') + 1);
  text.erase(0, text.find_first_not_of(' '));
  return text;
}

}  // namespace corvex
