#include "cx_capdlg/words.h"

#include <cstdlib>
#include <string>

namespace corvex {
namespace {

constexpr Words kChinese = {
    "指纹采集",
    "请准备按捺手指",
    {},
    {"第一次", "第二次", "第三次"},
    "将手指平放在采集器上，听到提示音后抬起",
    "抬起后再按同一手指，听到提示音后抬起",
    "共 %1 次按捺",
    "第 %1 次按捺，共 %2 次",
    "剩余时间 %1 秒",
    "指纹图像",
    "取消 (Esc)",
    "取消采集",
    {"采集已结束", "三次按捺已完成", "采集时间已到"},
    "采集结果由应用程序给出",
    "关闭 (Esc)",
    "",
};

constexpr Words kEnglish = {
    "Fingerprint enrolment",
    "Get a finger ready",
    {"Press your finger", "Press it a second time", "Press it a third time"},
    {"First", "Second", "Third"},
    "Lay the finger flat on the reader and lift it at the beep",
    "Lift, press the same finger again and lift it at the beep",
    "%1 presses",
    "Press %1 of %2",
    "%1 s left",
    "Fingerprint",
    "Cancel (Esc)",
    "Cancel the enrolment",
    {"Enrolment ended", "Three presses taken", "Time is up"},
    "The application tells the result",
    "Close (Esc)",
    "",
};

constexpr Words WithFontNote(Words words) {
  words.note = "For Chinese, install the package fonts-wqy-microhei";
  return words;
}
constexpr Words kWithoutFont = WithFontNote(kEnglish);

// As the C library chooses the language of messages.
std::string Locale() {
  for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* const value = getenv(name);
    if (value != nullptr && *value != '\0') return value;
  }
  return "C";
}

// A locale without a language is how terminals are delivered.
bool IsChineseWanted() {
  const std::string locale = Locale();
  const std::string language = locale.substr(0, locale.find_first_of("_.@"));
  return language == "zh" || language == "C" || language == "POSIX";
}

}  // namespace

const Words& WordsForUser(bool has_chinese_font) {
  if (!IsChineseWanted()) return kEnglish;
  return has_chinese_font ? kChinese : kWithoutFont;
}

}  // namespace corvex
