#include "cx_capdlg/prompt_text.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "extern/smo_opt/smo_base1.h"

namespace {

using corvex::PressOf;

std::string Shown(const std::string& sent) {
  const auto record = std::make_unique<smo_data_t>();
  CopyRecordText(*record, sent.c_str());
  return corvex::ShownText(*record);
}

TEST(PromptText, TheDriversTextsNameTheirPress) {
  EXPECT_EQ(1, PressOf(Shown(" 请您第一次按捺手指...")));
  EXPECT_EQ(2, PressOf(Shown(" 请您第二次按捺手指...")));
  EXPECT_EQ(3, PressOf(Shown(" 请您第三次按捺手指...")));
}

TEST(PromptText, OtherTextsNameNone) {
  for (const char* text : {"", "请抬起手指", "请您第四次按捺手指...",
                           "请您第一次按捺手指", "第一次"}) {
    EXPECT_EQ(0, PressOf(text)) << text;
  }
}

TEST(PromptText, IsShownAsItIsButForBlanksAround) {
  EXPECT_EQ("请您 a", Shown("  请您 a "));
  EXPECT_EQ("", Shown("   "));
  EXPECT_EQ("\xF0\x9F\x91\x86 ok", Shown("\xF0\x9F\x91\x86 ok"));
}

TEST(PromptText, ALongTextIsCutBetweenCharacters) {
  std::string text;
  while (text.size() < 600) text += "请";
  EXPECT_EQ(text.substr(0, 255), Shown(text));
  EXPECT_EQ(std::string(255, 'x'), Shown(std::string(5000, 'x')));
  EXPECT_EQ("", Shown(std::string(5000, '\x80')));
}

}  // namespace
