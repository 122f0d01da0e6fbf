// One connected page: JSON-RPC 2.0 over its WebSocket, and what it may send.
#ifndef APPS_MVFP_WEB_PAGE_H_
#define APPS_MVFP_WEB_PAGE_H_

#include <QElapsedTimer>
#include <QObject>
#include <QWebSocket>
#include <functional>
#include <memory>

#include "mvfp_web/desk.h"
#include "mvfp_web/rpc_error.h"

namespace corvex::mvfp_web {

class Page : public QObject, public Caller {
 public:
  // `gone` is called when the page has left; desk and settings outlive it.
  Page(std::unique_ptr<QWebSocket> socket, const Settings& settings, Desk* desk,
       std::function<void(Page*)> gone);
  ~Page() override;

  void Close(QWebSocketProtocol::CloseCode code, const QString& why);

  QString Origin() const override { return socket_->origin(); }
  void Answer(const QJsonValue& id, const QJsonObject& answer) override;
  void Notify(const QJsonObject& progress) override;

 private:
  void OnText(const QString& text);
  void OnRequest(const QJsonObject& request);
  void Reject(const QJsonValue& id, RpcCode code, const QString& what);
  bool SendsTooOften();
  void Send(QJsonObject message);

  const std::unique_ptr<QWebSocket> socket_;
  const Settings& settings_;
  Desk* const desk_;
  QElapsedTimer clock_;
  double allowance_;  // of messages
};

}  // namespace corvex::mvfp_web

#endif  // APPS_MVFP_WEB_PAGE_H_
