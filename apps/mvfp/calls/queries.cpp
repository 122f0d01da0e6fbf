#include "calls/queries.h"

#include "calls/driver.h"

namespace corvex::mvfp {

Reply AskForText(const char* query, const DeviceOptions& options,
                 const Tick& tick) {
  const auto call = CallNamed<decltype(FG_GetDevVersion)>(query);
  return RunDeviceCall(
      query, options,
      [&](const char* port, const char* box, Reply* to) {
        return call.run(port, box, FG_LINK_SPEED, to->text);
      },
      tick);
}

Reply AskForFinger(const DeviceOptions& options, const Tick& tick) {
  const auto call = CallNamed<decltype(FG_CheckPressed)>(kFingerQuery);
  return RunDeviceCall(
      kFingerQuery, options,
      [&](const char* port, const char* box, Reply* /*reply*/) {
        return call.run(port, box, FG_LINK_SPEED);
      },
      tick);
}

}  // namespace corvex::mvfp
