#include "patterns.h"

#include <regex>

namespace corvex::mvfp {

std::vector<std::string> FindPattern(const std::string& text,
                                     const std::string& pattern) {
  // Older libraries leave something in `found` where nothing is found.
  std::smatch found;
  if (!std::regex_search(text, found, std::regex(pattern))) return {};
  return {found.begin(), found.end()};
}

bool HasPattern(const std::string& text, const std::string& pattern) {
  return !FindPattern(text, pattern).empty();
}

std::string ReplacePattern(const std::string& text, const std::string& pattern,
                           const std::string& with) {
  return std::regex_replace(text, std::regex(pattern), with);
}

}  // namespace corvex::mvfp
