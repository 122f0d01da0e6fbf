// Dual-feature records on the command line, with a stand-in for the algorithm
// library beside the driver that the tool loads.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "algorithm_double/driver_site.h"
#include "tool_run.h"
#include "virtual_reader/virtual_reader.h"

namespace {

constexpr char kDual[] = "EoMCAAAA";

class DualFeature : public testing::Test {
 protected:
  DualFeature() { setenv("LD_LIBRARY_PATH", "/tmp/site", 1); }

  support::DriverSite site_{MV_DRIVER};
};

TEST_F(DualFeature, MatchGoesByTheLibrarysScoreAndThresholds) {
  site_.InstallDouble();
  site_.Script("score 45");
  const Finished no = RunTool({"match", kDual, kDual, "--level", "3"});
  EXPECT_EQ(1, no.exit_code) << no.err;
  EXPECT_EQ("no match: score 45, level 3 takes more than 45\n", no.out);
  site_.Script("score 46");
  const Finished yes = RunTool({"match", kDual, kDual, "--level", "3"});
  EXPECT_EQ(0, yes.exit_code) << yes.err;
  EXPECT_EQ("match: score 46, level 3 takes more than 45\n", yes.out);
}

TEST_F(DualFeature, MatchSaysWhichLibraryIsMissing) {
  const Finished finished = RunTool({"match", kDual, kDual});
  EXPECT_EQ(4, finished.exit_code);
  EXPECT_NE(std::string::npos, finished.err.find("(FG_FpMatch -98)"));
  EXPECT_NE(std::string::npos, finished.err.find("libAlgoOrva64.so"));
}

TEST_F(DualFeature, EnrolmentPrintsTheLibrarysTemplate) {
  site_.InstallDouble();
  site_.Script("template 12830102030405");
  corvex::vreader::VirtualReader reader;
  std::vector<uint8_t> record(20, 0x55);
  record[0] = 0x12;
  record[1] = 0x88;
  reader.Press(record);
  const Finished finished = RunTool({"enroll", "--port", reader.PortName()});
  EXPECT_EQ(0, finished.exit_code) << finished.err;
  EXPECT_EQ("EoMBAgMEBQ==\n", finished.out);
  EXPECT_EQ(1, site_.CountCalls("OrvSynMinut"));
}

}  // namespace
