// Who else is on a port's line. Nothing here opens the port.
#ifndef APPS_MVFP_PORTS_PORT_USE_H_
#define APPS_MVFP_PORTS_PORT_USE_H_

#include <string>

#include "machine/processes.h"

namespace corvex::mvfp {

struct PortUse {
  std::string kind;  // "console", "log-in", "modem", "process"; "" for free
  std::string text;  // "the kernel's console is on ttyS0"; "ttyUSB0 is free"
  // A daemon that asks modems may write to the port when it is plugged in.
  std::string prober;
};

PortUse UseOf(const std::string& port, const Processes& processes);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_PORTS_PORT_USE_H_
