// Runs one call of the driver so that Ctrl-C can end it.
//
// A driver call blocks and cannot be called off. So it runs in a process of
// its own: that process is frozen, the line is left to fall silent, the port's
// settings are put back, and only then is the process ended, which frees lock
// and port. Nobody else can start to talk to the reader in between.
#ifndef APPS_MVFP_CALLS_DEVICE_CALL_H_
#define APPS_MVFP_CALLS_DEVICE_CALL_H_

#include <mv_fpi.h>
#include <sys/types.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace corvex::mvfp {

struct DeviceOptions {
  std::string port;  // as it was given
  std::string box;
};

void AddPortOption(CLI::App* command, std::string* port);
void AddDeviceOptions(CLI::App* command, DeviceOptions* options);

// The port's name below /dev. Throws a Failure when none was given.
std::string PortOf(const DeviceOptions& options);

// What a call leaves behind. Plain bytes: two processes share them.
struct Reply {
  int rc;
  long elapsed_ms;
  char text[FG_TEMPLATE_BYTES];    // the longest output; always terminated
  char message[FG_MESSAGE_BYTES];  // as the call left it; "" when it has none
};

// Calls the driver, returns its result, leaves the texts in `reply`.
using Work = std::function<int(const char* port, const char* box, Reply*)>;

// Called some times a second while the call runs, in process `worker`.
using Tick = std::function<void(pid_t worker, long elapsed_ms)>;

// `work` calls the `function` of the driver. Throws a Failure when a signal cut
// the call short, or the driver crashed.
Reply RunDeviceCall(const char* function, const DeviceOptions& options,
                    const Work& work, const Tick& tick = nullptr);

// Ends this process as the signal would have, so that a shell sees Ctrl-C
// (status 130) and stops its loop.
[[noreturn]] void EndBySignal(int signal_number);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_CALLS_DEVICE_CALL_H_
