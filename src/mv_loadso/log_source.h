// The place that this module's log lines name.
#ifndef SRC_MV_LOADSO_LOG_SOURCE_H_
#define SRC_MV_LOADSO_LOG_SOURCE_H_

namespace corvex {

constexpr char kLogSource[] = "src/mv_loadso";

}  // namespace corvex

#endif  // SRC_MV_LOADSO_LOG_SOURCE_H_
