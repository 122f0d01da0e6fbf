// The serial port as the tool sees it beside the driver: its name, what keeps
// it from being opened, and how to leave it tidy when a call is cut short.
#ifndef APPS_MVFP_PORT_H_
#define APPS_MVFP_PORT_H_

#include <termios.h>

#include <string>

namespace corvex::mvfp {

// "/dev/ttyUSB0" and "ttyUSB0" both name ttyUSB0; "" when the text names
// nothing below /dev.
std::string PortName(const std::string& text);

// The serial ports of this machine in one line, to help choosing.
std::string KnownPorts();

// Why the driver could not open the port; "" when nothing seems wrong.
std::string PortTrouble(const std::string& name);

// Remembers the port's settings while the driver works on it, so that a call
// that is cut short leaves the port as it was and the line silent.
class PortKeeper {
 public:
  explicit PortKeeper(const std::string& name);
  ~PortKeeper();
  PortKeeper(const PortKeeper&) = delete;
  PortKeeper& operator=(const PortKeeper&) = delete;

  // Lets the reader finish what it is sending, throws that away, and puts the
  // settings back. Gives up early when `stop` becomes readable.
  void Settle(int stop) const;

 private:
  int port_;
  bool saved_ = false;
  termios settings_{};
};

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_PORT_H_
