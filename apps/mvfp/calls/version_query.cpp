#include "calls/version_query.h"

#include "calls/driver.h"

namespace corvex::mvfp {

Reply AskVersion(const std::string& port, DeviceOptions options,
                 const Tick& tick) {
  const auto query = MVFP_DRIVER_CALL(FG_GetDevVersion);
  options.port = port;
  return RunDeviceCall(
      kVersionQuery, options,
      [&](const char* name, const char* box, Reply* to) {
        return query.run(name, box, FG_LINK_SPEED, to->text);
      },
      tick);
}

}  // namespace corvex::mvfp
