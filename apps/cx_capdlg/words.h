// The window's own words, in the languages that it speaks.
#ifndef APPS_CX_CAPDLG_WORDS_H_
#define APPS_CX_CAPDLG_WORDS_H_

#include "cx_capdlg/prompt_session.h"
#include "cx_capdlg/prompt_text.h"

namespace corvex {

struct Words {
  const char* title;
  const char* ready;
  const char* presses[kPresses];  // null: as the driver says it
  const char* captions[kPresses];
  const char* first_hint;
  const char* next_hint;
  const char* press_count;
  const char* press_of_count;
  const char* seconds_left;
  const char* picture;
  const char* cancel;
  const char* cancel_purpose;
  const char* endings[kEndings];
  const char* result_elsewhere;
  const char* close;
  const char* note;  // about the language; may be empty
};

// In the language of the user's locale: Chinese, unless it names another.
// English too where no font has Chinese characters, with a note that says so.
const Words& WordsForUser(bool has_chinese_font);

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_WORDS_H_
