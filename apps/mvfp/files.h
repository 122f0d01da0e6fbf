// Small whole files.
#ifndef APPS_MVFP_FILES_H_
#define APPS_MVFP_FILES_H_

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace corvex::mvfp {

// A fingerprint is nobody else's business.
constexpr mode_t kOwnersAlone = 0600;

// What the file holds; "" when it cannot be read.
std::string ReadText(const std::string& path);

// Without the blanks between them.
std::vector<std::string> Words(const std::string& text);

// The mode is that of a new file. False, and errno, when it cannot be written.
bool WriteText(const std::string& path, const std::string& text, mode_t mode);

// Throws a Failure when the file could not be written: asked before the work
// that would be lost. `next` says what to do then.
void CheckWritable(const std::filesystem::path& path, const std::string& next);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_FILES_H_
