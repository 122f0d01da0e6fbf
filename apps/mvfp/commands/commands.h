// The subcommands. Each file has a command's help, its options and its work.
#ifndef APPS_MVFP_COMMANDS_COMMANDS_H_
#define APPS_MVFP_COMMANDS_COMMANDS_H_

#include "command_line.h"

namespace corvex::mvfp {

void AddVersionSnAndProbe(CommandLine* line);
void AddInfo(CommandLine* line);
void AddCapture(CommandLine* line);
void AddEnroll(CommandLine* line);
void AddMatch(CommandLine* line);
void AddInspect(CommandLine* line);
void AddLog(CommandLine* line);
void AddExplain(CommandLine* line);
void AddPortsAndScan(CommandLine* line);
void AddLinkTest(CommandLine* line);
void AddBind(CommandLine* line);
void AddDoctor(CommandLine* line);
void AddGallery(CommandLine* line);
void AddIdentifyAndVerify(CommandLine* line);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_COMMANDS_COMMANDS_H_
