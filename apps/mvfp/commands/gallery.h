// What the commands that read or change the gallery share.
#ifndef APPS_MVFP_COMMANDS_GALLERY_H_
#define APPS_MVFP_COMMANDS_GALLERY_H_

#include <string>

#include "command_line.h"

namespace corvex::mvfp {

// What is wrong with an id or a finger; "" when nothing is.
std::string ProblemOfName(const std::string& name);

// "3 records".
std::string Plural(size_t count);

void AddCalibrate(CommandLine* line, CLI::App* gallery);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_COMMANDS_GALLERY_H_
