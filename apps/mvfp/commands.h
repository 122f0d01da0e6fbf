// The subcommands. Each prints its result or its failure and returns the exit
// code.
#ifndef APPS_MVFP_COMMANDS_H_
#define APPS_MVFP_COMMANDS_H_

#include "config.h"

namespace corvex::mvfp {

int RunVersion(const Config& config);
int RunSn(const Config& config);
int RunInfo(const Config& config);
int RunProbe(const Config& config);
int RunCapture(const Config& config);
int RunEnroll(const Config& config);
int RunMatch(const Config& config);
int RunInspect(const Config& config);
int RunLogOn(const Config& config);
int RunLogOff(const Config& config);
int RunLogFollow(const Config& config);
int RunExplain(const Config& config);
int RunBind(const Config& config);
int RunDoctor(const Config& config);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_COMMANDS_H_
