// A host that loads the driver for each call is left with nothing of it.
#include <gtest/gtest.h>

#include "algorithm_double/driver_site.h"
#include "mv_fpi.h"

namespace {

TEST(Unload, TakesTheDriverAndTheLibraryOutOfTheProcess) {
  support::DriverSite site{MV_DRIVER};
  site.InstallDouble();
  site.Load();
  EXPECT_TRUE(site.IsMapped("libmv_fpi.so"));
  const auto match = site.Get<decltype(FG_FpMatch)>("FG_FpMatch");
  EXPECT_EQ(-8, match("EgYDAAAA", "EgYDAAAA", 1));  // in the driver
  EXPECT_EQ(0, match("EoMCAAAA", "EoMCAAAA", 1));   // in the library
  site.Unload();
  EXPECT_FALSE(site.IsMapped("libmv_fpi.so"));
  EXPECT_FALSE(site.IsMapped("libAlgoOrva64.so"));
  EXPECT_EQ(1, site.CountCalls("MvViewDexit mine\n"));
}

}  // namespace
