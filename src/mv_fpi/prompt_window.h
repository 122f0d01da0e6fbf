// The window that guides the user through an enrolment.
#ifndef SRC_MV_FPI_PROMPT_WINDOW_H_
#define SRC_MV_FPI_PROMPT_WINDOW_H_

#include <cstdint>

namespace corvex {

// Closes with the object. An object that was never opened, or could not be,
// shows nothing and is never cancelled.
class PromptWindow {
 public:
  PromptWindow() = default;
  ~PromptWindow();
  PromptWindow(const PromptWindow&) = delete;
  PromptWindow& operator=(const PromptWindow&) = delete;

  // Opens the window with a blank picture and the first press's text. The name
  // is that of the exported call, for the log.
  void Open(const char* call_name, int32_t timeout_s);

  // Asks for press 0, 1 or 2. Returns 0, or the channel's code when the user
  // has closed the window.
  int32_t AskForPress(int32_t press) const;

 private:
  bool open_ = false;
};

}  // namespace corvex

#endif  // SRC_MV_FPI_PROMPT_WINDOW_H_
