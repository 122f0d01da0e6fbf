// The listening sockets. Whoever connects is judged here, before the WebSocket
// library sees a byte.
#ifndef APPS_MVFP_WEB_GATE_H_
#define APPS_MVFP_WEB_GATE_H_

#include <QByteArrayList>
#include <QDeadlineTimer>
#include <QList>
#include <QObject>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QWebSocket>
#include <QWebSocketServer>
#include <functional>
#include <memory>

#include "mvfp_web/settings.h"

namespace corvex::mvfp_web {

class Gate : public QObject {
 public:
  using Welcome = std::function<void(std::unique_ptr<QWebSocket>)>;

  // `settings` must outlive the gate.
  Gate(const Settings& settings, Welcome welcome);

  // On 127.0.0.1 and, where the machine has it, on ::1. Returns what is wrong,
  // or "".
  QString Listen();

 private:
  // One who has connected, and by when it must have said what it wants.
  struct Knock {
    QTcpSocket* socket;
    QDeadlineTimer limit;
  };

  QString ListenOn(const QHostAddress& address, const QByteArray& name);
  void Accept(QTcpServer* server, const QByteArrayList& hosts);
  void Look(QTcpSocket* socket, const QByteArrayList& hosts);
  void Forget(const QTcpSocket* socket);
  void Sweep();
  void TakeOver();

  const Settings& settings_;
  const Welcome welcome_;
  QWebSocketServer library_;
  // The oldest first. Those that the library has been given are not here.
  QList<Knock> waiting_;
  QTimer sweep_;
};

}  // namespace corvex::mvfp_web

#endif  // APPS_MVFP_WEB_GATE_H_
