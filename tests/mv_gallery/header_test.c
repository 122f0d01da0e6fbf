/* The header is plain C, and goes together with the driver's. */
#include <mv_fpi.h>
#include <mv_match.h>

int ScoreInC(const char* first, const char* second);
int ScoreInC(const char* first, const char* second) {
  return mv_compare_text(first, second);
}
