// Runs one call of the driver so that Ctrl-C can end it.
//
// A driver call blocks and cannot be called off. So it runs in a process of
// its own: that process is frozen, the line is left to fall silent, the port's
// settings are put back, and only then is the process ended, which frees lock
// and port. Nobody else can start to talk to the reader in between.
#ifndef APPS_MVFP_DEVICE_CALL_H_
#define APPS_MVFP_DEVICE_CALL_H_

#include <mv_fpi.h>
#include <sys/types.h>

#include <functional>
#include <string>

namespace corvex::mvfp {

// What a call leaves behind. Plain bytes: it crosses a pipe.
struct Reply {
  int rc;
  char text[FG_TEMPLATE_BYTES];    // the longest output; always terminated
  char message[FG_MESSAGE_BYTES];  // as the call left it; "" when it has none
};
static_assert(sizeof(Reply) < 4096, "one write to a pipe must stay whole");

struct Outcome {
  Reply reply{};
  long elapsed_ms = 0;
  int interrupted_by = 0;  // the signal that cut the call short
  int crashed_by = 0;      // the signal that ended the driver's process
};

using Work = std::function<void(Reply*)>;

// Called some times a second while the call runs, in process `worker`.
using Tick = std::function<void(pid_t worker, long elapsed_ms)>;

Outcome RunDeviceCall(const std::string& port, const Work& work,
                      const Tick& tick);

// Ends this process as the signal would have, so that a shell sees Ctrl-C
// (status 130) and stops its loop.
[[noreturn]] void EndBySignal(int signal_number);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_DEVICE_CALL_H_
