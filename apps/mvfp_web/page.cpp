#include "mvfp_web/page.h"

#include <QJsonDocument>
#include <algorithm>
#include <utility>

namespace corvex::mvfp_web {
namespace {

// The longest request holds two records of 4096 characters.
constexpr quint64 kLongestMessage = 16384;

// No person causes as many; a page that identifies in a loop keeps below.
constexpr double kMessagesPerSecond = 100;
constexpr double kMessagesAtOnce = 200;

constexpr qsizetype kLongestId = 64;
constexpr qint64 kMostUnread = 1 << 20;

bool IsId(const QJsonValue& id) {
  return id.isDouble() || (id.isString() && id.toString().size() <= kLongestId);
}

constexpr Words kNotUnderstood = {
    "the page sent a request that is not understood", "页面发送的请求无效",
    "tell who made the page", "请联系页面开发者"};

QJsonObject RefusalOf(Understood understood, const QString& trouble) {
  if (understood == Understood::kNoGallery) {
    return OwnError(
        RpcCode::kSetUp, trouble,
        {"no gallery is configured on this terminal", "此终端未配置指纹库",
         "ask the operator to name one in web.conf",
         "请管理员在 web.conf 中指定"});
  }
  return OwnError(understood == Understood::kBadParameters
                      ? RpcCode::kParameters
                      : RpcCode::kMethod,
                  trouble, kNotUnderstood);
}

}  // namespace

Page::Page(std::unique_ptr<QWebSocket> socket, const Settings& settings,
           Desk* desk, std::function<void(Page*)> gone)
    : socket_(std::move(socket)),
      settings_(settings),
      desk_(desk),
      allowance_(kMessagesAtOnce) {
  clock_.start();
  socket_->setMaxAllowedIncomingFrameSize(kLongestMessage);
  socket_->setMaxAllowedIncomingMessageSize(kLongestMessage);
  connect(socket_.get(), &QWebSocket::textMessageReceived, this,
          [this](const QString& text) { OnText(text); });
  connect(socket_.get(), &QWebSocket::binaryMessageReceived, this, [this] {
    Close(QWebSocketProtocol::CloseCodeDatatypeNotSupported, "text only");
  });
  connect(socket_.get(), &QWebSocket::disconnected, this,
          [this, gone = std::move(gone)] { gone(this); });
}

Page::~Page() {
  socket_->disconnect(this);
  desk_->Leave(this);
}

void Page::Close(QWebSocketProtocol::CloseCode code, const QString& why) {
  desk_->Leave(this);
  socket_->close(code, why);
}

void Page::OnText(const QString& text) {
  if (!socket_->isValid()) return;
  if (SendsTooOften()) {
    return Close(QWebSocketProtocol::CloseCodePolicyViolated,
                 "too many messages");
  }
  const auto message = QJsonDocument::fromJson(text.toUtf8());
  if (message.isNull()) {
    return Reject(QJsonValue::Null, RpcCode::kParse, "this is no JSON");
  }
  const QJsonObject request = message.object();
  if (request["jsonrpc"] != "2.0" || !request["method"].isString()) {
    return Reject(QJsonValue::Null, RpcCode::kRequest,
                  "this is no request of JSON-RPC 2.0; batches are not taken");
  }
  OnRequest(request);
}

void Page::OnRequest(const QJsonObject& request) {
  const QJsonValue id = request["id"];
  const QJsonValue given = request["params"];
  if (!IsId(id) || !(given.isObject() || given.isUndefined())) {
    return Reject(QJsonValue::Null, RpcCode::kRequest,
                  "a request has an id, and its parameters have names");
  }
  const QJsonObject parameters = given.toObject();
  if (request["method"] == "cancel") {
    const bool found = desk_->Cancel(this, parameters["id"]);
    return Answer(id, {{"result", QJsonObject{{"cancelled", found}}}});
  }
  Call call;
  QString trouble;
  const Understood understood = Understand(
      request["method"].toString(), parameters, settings_, &call, &trouble);
  if (understood == Understood::kYes) return desk_->Take(this, id, call);
  Answer(id, {{"error", RefusalOf(understood, trouble)}});
}

void Page::Reject(const QJsonValue& id, RpcCode code, const QString& what) {
  Answer(id, {{"error", OwnError(code, what, kNotUnderstood)}});
}

void Page::Answer(const QJsonValue& id, const QJsonObject& answer) {
  QJsonObject message = answer;
  message["id"] = id;
  Send(message);
}

void Page::Notify(const QJsonObject& progress) {
  Send({{"method", "progress"}, {"params", progress}});
}

// A bucket that fills steadily.
bool Page::SendsTooOften() {
  const double seconds = static_cast<double>(clock_.restart()) / 1000;
  allowance_ =
      std::min(kMessagesAtOnce, allowance_ + seconds * kMessagesPerSecond);
  allowance_ -= 1;
  return allowance_ < 0;
}

void Page::Send(QJsonObject message) {
  // Browsers read what they are sent.
  if (socket_->bytesToWrite() > kMostUnread) return socket_->abort();
  message["jsonrpc"] = "2.0";
  socket_->sendTextMessage(
      QJsonDocument(message).toJson(QJsonDocument::Compact));
}

}  // namespace corvex::mvfp_web
