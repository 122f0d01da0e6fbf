// The version query: the call that only asks, for the commands that try ports.
#ifndef APPS_MVFP_CALLS_VERSION_QUERY_H_
#define APPS_MVFP_CALLS_VERSION_QUERY_H_

#include <string>

#include "calls/device_call.h"

namespace corvex::mvfp {

constexpr char kVersionQuery[] = "FG_GetDevVersion";

// Asks the reader on that port. Throws as RunDeviceCall.
Reply AskVersion(const std::string& port, DeviceOptions options,
                 const Tick& tick = nullptr);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_CALLS_VERSION_QUERY_H_
