// The calls that only ask, which a reader answers at once.
#ifndef APPS_MVFP_CALLS_QUERIES_H_
#define APPS_MVFP_CALLS_QUERIES_H_

#include "calls/device_call.h"

namespace corvex::mvfp {

constexpr char kVersionQuery[] = "FG_GetDevVersion";
constexpr char kSnQuery[] = "FG_GetDevSn";
constexpr char kFingerQuery[] = "FG_CheckPressed";

// Each throws as RunDeviceCall.

// What the reader says of itself, in answer to one of the first two.
Reply AskForText(const char* query, const DeviceOptions& options,
                 const Tick& tick = nullptr);

// Whether a finger lies on the sensor.
Reply AskForFinger(const DeviceOptions& options, const Tick& tick = nullptr);

// A tick for who shows something else, or nothing.
inline void ShowNothing(pid_t /*worker*/, long /*elapsed_ms*/) {}

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_CALLS_QUERIES_H_
