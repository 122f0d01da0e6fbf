#include "files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <sstream>

#include "report.h"

namespace corvex::mvfp {

std::string ReadText(const std::string& path) {
  // Through a stream, which takes what a process that just ended leaves for the
  // end of the file; an iterator throws.
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

std::vector<std::string> Words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

bool WriteText(const std::string& path, const std::string& text, mode_t mode) {
  const int file =
      open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
  if (file < 0) return false;
  const bool written = write(file, text.data(), text.size()) ==
                       static_cast<ssize_t>(text.size());
  return close(file) == 0 && written;
}

void CheckWritable(const std::filesystem::path& path, const std::string& next) {
  std::error_code error;
  const auto directory = "." / path.parent_path();
  const bool exists = std::filesystem::exists(path, error);
  if (std::filesystem::is_directory(path, error)) {
    errno = EISDIR;
  } else if (access((exists ? path : directory).c_str(), W_OK) == 0) {
    return;
  }
  throw SystemFailure("write", path, next, kExitUsage);
}

}  // namespace corvex::mvfp
