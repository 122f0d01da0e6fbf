#include "virtual_reader/text.h"

#include <algorithm>
#include <charconv>

namespace corvex::vreader {
namespace {

constexpr std::string_view kBlanks = " \t\r";

}  // namespace

std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  while (true) {
    const size_t end = text.find(separator);
    parts.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

std::string_view Trim(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

std::vector<std::string> SplitWords(std::string_view text) {
  std::vector<std::string> words;
  for (text = Trim(text); !text.empty(); text = Trim(text)) {
    const size_t end = std::min(text.find_first_of(kBlanks), text.size());
    words.emplace_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return words;
}

std::optional<uint32_t> ParseNumber(std::string_view text) {
  const bool hex = text.substr(0, 2) == "0x";
  if (hex) text.remove_prefix(2);
  const char* const end = text.data() + text.size();
  uint32_t value = 0;
  const auto read = std::from_chars(text.data(), end, value, hex ? 16 : 10);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return value;
}

}  // namespace corvex::vreader
