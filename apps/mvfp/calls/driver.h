// The driver, loaded when a command first needs one of its functions and not
// before: the commands that look for what is wrong must start where the driver
// does not, or where what lies beside it ends every host.
#ifndef APPS_MVFP_CALLS_DRIVER_H_
#define APPS_MVFP_CALLS_DRIVER_H_

#include <string>

namespace corvex::mvfp {

constexpr char kDriverFile[] = MVFP_DRIVER_FILE;

// A function of mv_fpi.h in the loaded driver, and its name there.
template <typename Function>
struct DriverCall {
  const char* name;
  Function* run;
};

// Throws a Failure when the driver, or this name in it, is missing.
void* FindInDriver(const char* name);

// The file that was loaded, as the dynamic loader knows it.
std::string LoadedDriverFile();

// The name behind its links, which ends in its version.
std::string DriverVersion();

template <typename Function>
DriverCall<Function> CallNamed(const char* name) {
  return {name, reinterpret_cast<Function*>(FindInDriver(name))};
}

}  // namespace corvex::mvfp

#define MVFP_DRIVER_CALL(function) \
  corvex::mvfp::CallNamed<decltype(function)>(#function)

#endif  // APPS_MVFP_CALLS_DRIVER_H_
