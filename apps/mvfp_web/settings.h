// What the machine's owner wrote: who may talk to the reader, and which one.
#ifndef APPS_MVFP_WEB_SETTINGS_H_
#define APPS_MVFP_WEB_SETTINGS_H_

#include <QString>
#include <QStringList>
#include <cstdint>
#include <string>

namespace corvex::mvfp_web {

struct Settings {
  uint16_t port = 47653;  // of the service, on both loopback addresses
  QStringList origins;    // allowed, exactly as a browser sends them
  QString reader;         // its serial port; "" asks mvfp's environment
  QString box;
  bool check = false;  // only look whether a running service serves them
  QString gallery;     // "" when pages may search nobody
};

// Reads command line and configuration file. Returns false when the program is
// to end with `exit_code`: help was asked for, or something is wrong and has
// been said.
bool ReadSettings(int argc, char** argv, Settings* settings, int* exit_code);

// Why no browser will ever send this origin, or ""; that is how a slip in the
// list shows before somebody stands at the counter.
std::string TroubleWithOrigin(const std::string& origin);

}  // namespace corvex::mvfp_web

#endif  // APPS_MVFP_WEB_SETTINGS_H_
