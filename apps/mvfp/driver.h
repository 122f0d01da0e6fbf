// The driver, loaded when a command needs it and not before: the commands that
// look for what is wrong must start where the driver does not, or where what
// lies beside it ends every host.
#ifndef APPS_MVFP_DRIVER_H_
#define APPS_MVFP_DRIVER_H_

#include <string>

namespace corvex::mvfp {

constexpr char kDriverFile[] = MVFP_DRIVER_FILE;

// Until this has returned "", no function of mv_fpi.h may be called. Otherwise
// why the driver cannot be loaded.
std::string LoadDriver();

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_DRIVER_H_
