// What a page may ask for, and what mvfp is told then.
#ifndef APPS_MVFP_WEB_METHODS_H_
#define APPS_MVFP_WEB_METHODS_H_

#include <QJsonObject>
#include <QString>
#include <optional>

#include "mvfp_web/settings.h"
#include "mvfp_web/worker.h"

namespace corvex::mvfp_web {

struct Call {
  Job job;
  bool uses_reader = false;
  int timeout_s = 0;  // in which the presses must come; 0 when none is awaited
  int presses = 0;
};

enum class Understood { kYes, kNoSuchMethod, kBadParameters, kNoGallery };

// The call that a request asks for. Otherwise `trouble` says in English what is
// wrong with it.
Understood Understand(const QString& method, const QJsonObject& parameters,
                      const Settings& settings, Call* call, QString* trouble);

}  // namespace corvex::mvfp_web

#endif  // APPS_MVFP_WEB_METHODS_H_
