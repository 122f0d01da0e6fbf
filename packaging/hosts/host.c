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
  int result = FG_GetDevVersion(argv[1], "", FG_LINK_SPEED, version);
  if (result != FG_OK) {
    fprintf(stderr, "%s: the driver says %d\n", argv[1], result);
    return 1;
  }
  puts(version);
  result =
      FG_TipsGetTemplate(argv[1], "", FG_LINK_SPEED, 1, tmpl, &length, message);
  if (result != FG_OK)
    fprintf(stderr, "not enrolled: %d %s\n", result, message);
  return 0;
}
