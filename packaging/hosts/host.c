/* An integrator's first program: which reader is it, then enrol under the
 * prompt window. The result of the latter depends on the screen. */
#include <mv_fpi.h>
#include <stdio.h>

int main(int argc, char** argv) {
  char version[FG_VERSION_BYTES];
  char tmpl[FG_TEMPLATE_BYTES];
  char message[FG_MESSAGE_BYTES] = "";
  int length;
  if (argc != 2) return 2;
  if (FG_GetDevVersion(argv[1], "", FG_LINK_SPEED, version) != FG_OK) {
    return 1;
  }
  puts(version);
  FG_TipsGetTemplate(argv[1], "", FG_LINK_SPEED, 1, tmpl, &length, message);
  return 0;
}
