// The serial port as the tool sees it beside the driver: its names, and what
// keeps it from being opened.
#ifndef APPS_MVFP_PORTS_PORT_H_
#define APPS_MVFP_PORTS_PORT_H_

#include <string>
#include <vector>

namespace corvex::mvfp {

// "/dev/ttyUSB0" and "ttyUSB0" both name ttyUSB0; "" when the text names
// nothing below /dev.
std::string PortName(const std::string& text);

// Names below /dev that fit a pattern, such as "COM*", and lead somewhere.
std::vector<std::string> PortsLike(const std::string& pattern);

// Do both names lead to the same port?
bool IsSamePort(const std::string& name, const std::string& other);

// The ports of this machine that may have a reader.
std::vector<std::string> LikelyPorts();

// The serial ports of this machine in one line, to help choosing.
std::string KnownPorts();

// The command that gives the port a lasting name, and the package's rights.
std::string BindCommand(const std::string& port);

// What came of opening the port and giving it the driver's settings, which the
// driver's own code does, and of giving back its own.
struct PortTrial {
  bool is_usable;
  std::string trouble;  // for people
  std::string command;  // that mends it, or tells more; may be empty
};
PortTrial TryPort(const std::string& name);

// A port for this process alone, without waiting for the line. As open().
int OpenPort(const std::string& name);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_PORTS_PORT_H_
