// A screen of the test's own, and what a user does at it.
#ifndef TESTS_CX_CAPDLG_SCREEN_H_
#define TESTS_CX_CAPDLG_SCREEN_H_

#include <string>

// Needs Xvfb, openbox, xdotool, xprop, xwininfo and ImageMagick's import.
bool HasScreenTools();

class Screen {
 public:
  // Starts a display of that size ("1024x600") with a window manager, and sets
  // DISPLAY.
  explicit Screen(const std::string& size = "1024x600");

  // Waits for the prompt window; its id, or "" after ten seconds.
  std::string PromptWindow() const;

  // A value that changes with the window's pixels.
  std::string Pixels(const std::string& window) const;
  // Waits until they differ from `before` and then for them to settle; the new
  // ones, or `before` after ten seconds.
  std::string PixelsAfter(const std::string& window,
                          const std::string& before) const;

  void Press(const std::string& key) const;
  void Click(const std::string& window, int x, int y) const;
};

#endif  // TESTS_CX_CAPDLG_SCREEN_H_
