#include "virtual_reader/virtual_reader.h"

#include <gtest/gtest.h>
#include <mv_fpi.h>
using corvex::vreader::VirtualReader;
TEST(Sample, Runs) {
  char text[FG_FEATURE_BYTES];
  char message[FG_MESSAGE_BYTES];
  int length;
  /* the sample */
}
