#include "record_source.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace corvex::mvfp {
namespace {

// Room for the longest text that a call can give, and for a sign of more.
constexpr size_t kMostBytes = 4096;

struct Closer {
  void operator()(FILE* file) const {
    if (file != stdin) fclose(file);
  }
};
using File = std::unique_ptr<FILE, Closer>;

std::string Trimmed(const std::string& text) {
  constexpr char kBlanks[] = " \t\r\n";
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool FileExists(const std::string& name) {
  return access(name.c_str(), F_OK) == 0;
}

bool ReadAll(FILE* file, std::string* text) {
  std::array<char, kMostBytes> bytes;
  const size_t count = fread(bytes.data(), 1, bytes.size(), file);
  text->assign(bytes.data(), count);
  return ferror(file) == 0;
}

bool Refuse(const std::string& what, Failure* failure) {
  failure->exit_code = kExitUsage;
  failure->what = what;
  failure->next = "give a file that holds a record, - for input, or its text";
  return false;
}

bool ReadFile(const std::string& path, std::string* text, Failure* failure) {
  const File file(path == "-" ? stdin : fopen(path.c_str(), "re"));
  if (file != nullptr && ReadAll(file.get(), text)) return true;
  return Refuse("cannot read " + path + ": " + strerror(errno), failure);
}

// Every record's text begins like this, and few file names do.
bool LooksLikeRecord(const std::string& text) {
  return text.rfind('E', 0) == 0 || text.rfind("12", 0) == 0;
}

}  // namespace

bool LoadRecord(const std::string& argument, SourcedRecord* loaded,
                Failure* failure) {
  std::string text = argument;
  loaded->name = "the record given";
  const bool is_marked = argument.rfind('@', 0) == 0;
  if (is_marked || argument == "-" || FileExists(argument)) {
    const std::string path = is_marked ? argument.substr(1) : argument;
    loaded->name = path == "-" ? "standard input" : path;
    if (!ReadFile(path, &text, failure)) return false;
  } else if (!LooksLikeRecord(argument)) {
    return Refuse("there is no file \"" + argument + "\"", failure);
  }
  loaded->record = ParseRecord(Trimmed(text));
  return true;
}

}  // namespace corvex::mvfp
