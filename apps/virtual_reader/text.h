// Reading of lines, words and numbers.
#ifndef APPS_VIRTUAL_READER_TEXT_H_
#define APPS_VIRTUAL_READER_TEXT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvex::vreader {

// The parts between the separators, empty ones included.
std::vector<std::string_view> Split(std::string_view text, char separator);

// Without the blanks around it.
std::string_view Trim(std::string_view text);

// The words between blanks.
std::vector<std::string> SplitWords(std::string_view text);

// Decimal, or hexadecimal behind "0x". Nothing for any other text.
std::optional<uint32_t> ParseNumber(std::string_view text);

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_TEXT_H_
