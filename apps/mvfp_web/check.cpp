#include "mvfp_web/check.h"

#include <unistd.h>

#include <QTcpSocket>
#include <cstdio>

#include "mvfp_web/worker.h"

namespace corvex::mvfp_web {
namespace {

constexpr int kAnswerMs = 3000;

bool SayOk(const char* what, const QString& found) {
  printf("ok      %-7s %s\n", what, qPrintable(found));
  return true;
}

bool SayProblem(const char* what, const QString& found, const char* command) {
  printf("problem %-7s %s\n                $ %s\n", what, qPrintable(found),
         command);
  return false;
}

// The status of its answer to a page of this origin; "" when nobody listens.
QByteArray Knock(const Settings& settings, const QString& origin) {
  const QByteArray host = "127.0.0.1:" + QByteArray::number(settings.port);
  QTcpSocket socket;
  socket.connectToHost(QHostAddress::LocalHost, settings.port);
  if (!socket.waitForConnected(kAnswerMs)) return "";
  socket.write("GET / HTTP/1.1\r\nHost: " + host +
               "\r\nOrigin: " + origin.toLatin1() +
               "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
               "Sec-WebSocket-Version: 13\r\n"
               "Sec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n\r\n");
  socket.waitForReadyRead(kAnswerMs);
  const QByteArrayList words = socket.readLine().split(' ');
  return words.value(1, "silence");
}

bool CheckOrigin(const Settings& settings, const QString& origin) {
  const QByteArray status = Knock(settings, origin);
  if (status == "101") return SayOk("page", origin + " is served");
  if (status.isEmpty()) {
    return SayProblem(
        "service", "nobody listens on port " + QString::number(settings.port),
        "systemctl --user restart mv-fpi-web");
  }
  if (status == "403") {
    return SayProblem(
        "page", origin + " is refused: the service runs with another list",
        "systemctl --user restart mv-fpi-web");
  }
  return SayProblem(
      "service",
      "another program answers on port " + QString::number(settings.port),
      "ss -tlnp");
}

}  // namespace

bool CheckService(const Settings& settings) {
  const QString tool = ToolPath();
  bool fine = access(qPrintable(tool), X_OK) == 0
                  ? SayOk("tool", tool)
                  : SayProblem("tool", tool + " is missing",
                               "sudo apt-get install ./mv-fpi-tools_*.deb");
  if (settings.origins.isEmpty()) {
    fine = SayProblem("page", "no origin is allowed: no page is served",
                      "sudoedit /etc/mv-fpi/web.conf");
  }
  for (const QString& origin : settings.origins) {
    fine = CheckOrigin(settings, origin) && fine;
  }
  return fine;
}

}  // namespace corvex::mvfp_web
