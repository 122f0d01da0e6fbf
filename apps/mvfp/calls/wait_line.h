// The line on the terminal that says what is awaited. Where there is no
// terminal it says nothing; a terminal that cannot clear a line gets the first
// text and no other.
#ifndef APPS_MVFP_CALLS_WAIT_LINE_H_
#define APPS_MVFP_CALLS_WAIT_LINE_H_

#include <string>

namespace corvex::mvfp {

class WaitLine {
 public:
  WaitLine();
  ~WaitLine();
  WaitLine(const WaitLine&) = delete;
  WaitLine& operator=(const WaitLine&) = delete;

  // In place of what was shown before.
  void Show(const std::string& text);

  bool IsVisible() const { return kind_ != Kind::kNone; }

 private:
  enum class Kind { kNone, kOnce, kReplaced };

  const Kind kind_;
  bool shown_ = false;
};

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_CALLS_WAIT_LINE_H_
