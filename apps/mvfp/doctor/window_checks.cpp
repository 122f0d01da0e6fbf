#include <unistd.h>

#include <cstdlib>

#include "doctor/checks.h"

namespace corvex::mvfp::doctor {
namespace {

std::string Variable(const char* name) {
  const char* const value = getenv(name);
  return value == nullptr ? "" : value;
}

bool HasProgram(const std::string& name) {
  return !OutputOf("command -v " + name).empty();
}

Finding CheckProgram(const Box& box) {
  const std::string path = box.directory + "/cx_capdlg";
  if (access(path.c_str(), X_OK) == 0) return {kOk, "window", path, ""};
  return {kNote, "window",
          "no " + path + ": guided enrolment goes on without its window",
          "sudo apt-get install --reinstall mv-fpi-prompt"};
}

Finding CheckPgrep() {
  if (HasProgram("pgrep")) return {kOk, "pgrep", "installed", ""};
  return {kNote, "pgrep",
          "missing: guided enrolment gives its window up after 3 s",
          "sudo apt-get install procps"};
}

// A display of this machine, ":0" or ":0.0", listens on a socket here.
bool IsAbsent(const std::string& display) {
  if (display.empty() || display[0] != ':') return display.empty();
  const std::string number = display.substr(1, display.find('.') - 1);
  return access(("/tmp/.X11-unix/X" + number).c_str(), F_OK) != 0;
}

Finding CheckDisplay() {
  const std::string display = Variable("DISPLAY");
  const std::string wayland = Variable("WAYLAND_DISPLAY");
  if (!wayland.empty()) return {kOk, "display", wayland, ""};
  if (!IsAbsent(display)) return {kOk, "display", display, ""};
  return {kNote, "display",
          (display.empty() ? "none" : display + " does not answer") +
              std::string(": guided enrolment goes on without its window"),
          "export DISPLAY=:0"};
}

Finding CheckFont() {
  if (!HasProgram("fc-list")) {
    return {kNote, "font", "cannot tell, for want of fc-list",
            "sudo apt-get install fontconfig"};
  }
  const std::string fonts = OutputOf("fc-list :lang=zh-cn family");
  if (!fonts.empty()) {
    return {kOk, "font", fonts.substr(0, fonts.find_first_of(",\n")), ""};
  }
  return {kNote, "font",
          "none has Chinese characters: the window shows empty boxes",
          "sudo apt-get install fonts-wqy-microhei"};
}

}  // namespace

void CheckWindow(const Box& box, Findings* findings) {
  if (!box.directory.empty()) findings->push_back(CheckProgram(box));
  findings->insert(findings->end(),
                   {CheckPgrep(), CheckDisplay(), CheckFont()});
}

}  // namespace corvex::mvfp::doctor
