// The judgement on who knocks, from the bytes of the handshake alone: nothing
// that a refused one sends later is read.
#ifndef APPS_MVFP_WEB_HANDSHAKE_H_
#define APPS_MVFP_WEB_HANDSHAKE_H_

#include <QByteArray>
#include <QByteArrayList>

#include "mvfp_web/settings.h"

namespace corvex::mvfp_web {

// No browser sends as much; cookies for 127.0.0.1 would be the most of it.
constexpr qsizetype kLongestHead = 8192;

struct Judgement {
  enum Kind { kIncomplete, kRefused, kWelcome };
  Kind kind = kIncomplete;
  QByteArray status;  // of a refusal, as "403 Forbidden"
  QByteArray why;     // for whoever looks into the browser's network log
};

// `hosts` are the names under which the socket may be called, with its port.
Judgement Judge(const QByteArray& head, const QByteArrayList& hosts,
                const QStringList& origins);

}  // namespace corvex::mvfp_web

#endif  // APPS_MVFP_WEB_HANDSHAKE_H_
