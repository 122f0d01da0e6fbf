// What a prompt text says, apart from how it looks.
#ifndef APPS_CX_CAPDLG_PROMPT_TEXT_H_
#define APPS_CX_CAPDLG_PROMPT_TEXT_H_

#include <string>

#include "cx_capdlg_lib.h"

namespace corvex {

constexpr int kPresses = 3;

// The press, 1 to 3, that a text asks for; 0 when it is none of the known ones.
int PressOf(const std::string& text);

// The text of the record's field, without blanks around it; a longer one is cut
// between characters. As its sender made it: perhaps no UTF-8.
std::string ShownText(const smo_data_t& record);

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_PROMPT_TEXT_H_
