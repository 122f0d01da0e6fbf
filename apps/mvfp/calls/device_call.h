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

#include <functional>
#include <string>

#include "command_line.h"

namespace corvex::mvfp {

struct DeviceOptions {
  std::string port;  // as it was given
  std::string box;
  int wait_s = 0;   // for another call to end
  int limit_s = 0;  // for the call itself; 0: as long as the driver takes
};

void AddPortOption(const Arguments& arguments, std::string* port);
void AddBoxOption(const Arguments& arguments, std::string* box);
void AddWaitOption(const Arguments& arguments, int* wait_s);
// All three.
void AddDeviceOptions(const Arguments& arguments, DeviceOptions* options);

// The port's name below /dev. Throws a Failure when none was given.
std::string PortOf(const DeviceOptions& options);

// What a call leaves behind. Plain bytes: two processes share them.
struct Reply {
  int rc;
  bool at_once;  // the call ended before it could have talked to the reader
  long elapsed_ms;
  char text[FG_TEMPLATE_BYTES];    // the longest output; always terminated
  char message[FG_MESSAGE_BYTES];  // as the call left it; "" when it has none
};

// Calls the driver, returns its result, leaves the texts in `reply`.
using Work = std::function<int(const char* port, const char* box, Reply*)>;

// Called some times a second while the call runs, in process `worker`.
using Tick = std::function<void(pid_t worker, long elapsed_ms)>;

// `work` calls the `function` of the driver, again and again while another call
// holds the reader and there is time to wait for that. Throws a Failure when a
// signal or the limit cut the call short, or the driver crashed. Without a
// `tick` a terminal shows that the reader is waited for.
Reply RunDeviceCall(const char* function, const DeviceOptions& options,
                    const Work& work, const Tick& tick = nullptr);

// Waits while another call holds the reader, so long at most.
void AwaitReader(int wait_s);

// Did the call find the reader in use, or its lock unusable?
bool WasRefused(const Reply& reply);

// Ends this process as the signal would have, so that a shell sees Ctrl-C
// (status 130) and stops its loop.
[[noreturn]] void EndBySignal(int signal_number);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_CALLS_DEVICE_CALL_H_
