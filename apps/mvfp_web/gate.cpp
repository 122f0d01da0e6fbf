#include "mvfp_web/gate.h"

#include <chrono>
#include <cstdio>
#include <utility>

#include "mvfp_web/handshake.h"

namespace corvex::mvfp_web {
namespace {

constexpr auto kHandshakeTime = std::chrono::seconds(5);
constexpr auto kSweepTime = std::chrono::seconds(1);
constexpr int kMostWaiting = 32;

void SayRefused(const QByteArray& status, const QByteArray& why) {
  fprintf(stderr, "mvfp-web: refused: %s (%s)\n", why.constData(),
          status.constData());
}

void Refuse(QTcpSocket* socket, const Judgement& judgement) {
  const QByteArray body = judgement.why + "\n";
  socket->write("HTTP/1.1 " + judgement.status +
                "\r\nContent-Type: text/plain\r\nX-Content-Type-Options: "
                "nosniff\r\nConnection: close\r\nContent-Length: " +
                QByteArray::number(body.size()) + "\r\n\r\n" + body);
  SayRefused(judgement.status, judgement.why);
}

}  // namespace

Gate::Gate(const Settings& settings, Welcome welcome)
    : settings_(settings),
      welcome_(std::move(welcome)),
      library_("mvfp-web", QWebSocketServer::NonSecureMode) {
  library_.setHandshakeTimeout(kHandshakeTime);
  connect(&library_, &QWebSocketServer::newConnection, this,
          [this] { TakeOver(); });
  sweep_.setInterval(kSweepTime);
  sweep_.callOnTimeout([this] { Sweep(); });
}

QString Gate::Listen() {
  QString trouble = ListenOn(QHostAddress::LocalHost, "127.0.0.1");
  if (!trouble.isEmpty()) return trouble;
  const QString six = ListenOn(QHostAddress::LocalHostIPv6, "[::1]");
  // A machine may do without it; another program on the port may not be there,
  // or pages that try this address would talk to that one.
  return QTcpServer().listen(QHostAddress::LocalHostIPv6) ? six : "";
}

QString Gate::ListenOn(const QHostAddress& address, const QByteArray& name) {
  const QByteArray port = ":" + QByteArray::number(settings_.port);
  auto* const server = new QTcpServer(this);
  const QByteArrayList hosts{name + port, "localhost" + port};
  connect(server, &QTcpServer::newConnection, this,
          [this, server, hosts] { Accept(server, hosts); });
  if (server->listen(address, settings_.port)) return "";
  return "cannot listen on " + name + port + ": " + server->errorString();
}

// A local program may hold as many as it likes: the oldest that has not yet
// said what it wants makes room, so that a browser, which says so at once, is
// never kept out.
void Gate::Accept(QTcpServer* server, const QByteArrayList& hosts) {
  while (QTcpSocket* const socket = server->nextPendingConnection()) {
    socket->setParent(this);
    socket->setReadBufferSize(kLongestHead);
    waiting_.append({socket, QDeadlineTimer(kHandshakeTime)});
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
      Forget(socket);
      socket->deleteLater();
    });
    connect(socket, &QTcpSocket::readyRead, this,
            [this, socket, hosts] { Look(socket, hosts); });
    if (waiting_.size() > kMostWaiting) waiting_.first().socket->abort();
  }
  if (!sweep_.isActive()) sweep_.start();
}

void Gate::Forget(const QTcpSocket* socket) {
  waiting_.removeIf([&](const Knock& knock) { return knock.socket == socket; });
  if (waiting_.isEmpty()) sweep_.stop();
}

void Gate::Sweep() {
  while (!waiting_.isEmpty() && waiting_.first().limit.hasExpired()) {
    waiting_.first().socket->abort();
  }
}

void Gate::Look(QTcpSocket* socket, const QByteArrayList& hosts) {
  const Judgement judgement =
      Judge(socket->peek(kLongestHead), hosts, settings_.origins);
  if (judgement.kind == Judgement::kIncomplete) return;
  disconnect(socket, &QTcpSocket::readyRead, this, nullptr);
  if (judgement.kind == Judgement::kRefused) {
    Refuse(socket, judgement);
    socket->disconnectFromHost();
    return;
  }
  disconnect(socket, nullptr, this, nullptr);
  Forget(socket);
  socket->setReadBufferSize(0);
  library_.handleConnection(socket);
}

void Gate::TakeOver() {
  while (QWebSocket* const socket = library_.nextPendingConnection()) {
    welcome_(std::unique_ptr<QWebSocket>(socket));
  }
}

}  // namespace corvex::mvfp_web
