#include "calls/day_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <filesystem>

namespace corvex::mvfp {

namespace fs = std::filesystem;

std::string DayLogPath() {
  const time_t now = time(nullptr);
  std::array<char, 64> path{};
  // Not localtime_r, which would keep the zone of its first call.
  strftime(path.data(), path.size(), "/tmp/fplog_%Y%m%d.log", localtime(&now));
  return path.data();
}

LogFollower::LogFollower(bool from_start) : current_path_(DayLogPath()) {
  Open(current_path_, !from_start);
}

LogFollower::~LogFollower() { Close(); }

// Anyone may put anything into a public directory: no link, no pipe.
void LogFollower::Open(const std::string& path, bool at_end) {
  std::error_code error;
  if (!fs::is_regular_file(fs::symlink_status(path, error))) return;
  file_ = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  open_error_ = file_ < 0 && errno != ENOENT ? errno : 0;
  if (file_ < 0) return;
  open_path_ = path;
  if (at_end) lseek(file_, 0, SEEK_END);
}

void LogFollower::Close() {
  if (file_ >= 0) close(file_);
  file_ = -1;
  open_path_.clear();
  partial_.clear();
}

void LogFollower::Drain(std::vector<std::string>* lines) {
  std::array<char, 4096> bytes;
  ssize_t count = 0;
  while ((count = read(file_, bytes.data(), bytes.size())) > 0) {
    partial_.append(bytes.data(), static_cast<size_t>(count));
  }
  size_t end = 0;
  while ((end = partial_.find('\n')) != std::string::npos) {
    lines->push_back(partial_.substr(0, end));
    partial_.erase(0, end + 1);
  }
}

// Changes to a new day's file one turn late: a record that was begun just
// before midnight still goes to the old one.
std::vector<std::string> LogFollower::Poll() {
  std::vector<std::string> lines;
  const std::string path = current_path_;
  current_path_ = DayLogPath();
  struct stat status {};
  if (file_ >= 0) Drain(&lines);
  const bool is_gone = fstat(file_, &status) != 0 || status.st_nlink == 0;
  if (is_gone || path != open_path_) Close();
  if (file_ < 0) {
    Open(path, false);
    if (file_ >= 0) Drain(&lines);
  }
  return lines;
}

}  // namespace corvex::mvfp
