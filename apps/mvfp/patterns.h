// Regular expressions. The library's templates cost the compiler seconds in
// every file that uses them: only patterns.cpp does.
#ifndef APPS_MVFP_PATTERNS_H_
#define APPS_MVFP_PATTERNS_H_

#include <string>
#include <vector>

namespace corvex::mvfp {

// The first part of the text that fits, and behind it each group's; nothing
// where no part does.
std::vector<std::string> FindPattern(const std::string& text,
                                     const std::string& pattern);

bool HasPattern(const std::string& text, const std::string& pattern);

// The text with something else, where "$1" is the first group, for every part
// that fits.
std::string ReplacePattern(const std::string& text, const std::string& pattern,
                           const std::string& with);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_PATTERNS_H_
