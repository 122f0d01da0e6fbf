// The udev rule that gives the adapter behind a serial port a lasting name.
#ifndef APPS_MVFP_UDEV_RULE_H_
#define APPS_MVFP_UDEV_RULE_H_

#include <string>

namespace corvex::mvfp {

// What tells an adapter from all others, as the matches of a udev rule. By its
// makers' numbers and its serial number, so that it may move to another socket;
// or, lacking a serial number or when asked to, by its socket; a port of the
// board itself by its name. "" when the port is no serial port of this machine.
std::string AdapterMatch(const std::string& port, bool by_socket);

// A whole rules file for /dev/COM<number>.
std::string RulesFile(int number, const std::string& match);

// Where it stands.
std::string RulesPath(int number);

// The match in a rules file; "" when it has none.
std::string MatchIn(const std::string& rules);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_UDEV_RULE_H_
