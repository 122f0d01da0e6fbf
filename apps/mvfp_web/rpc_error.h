// What a page is told when a call fails: a number of JSON-RPC, and what it
// means, in the driver's own words from the one table of its result codes.
#ifndef APPS_MVFP_WEB_RPC_ERROR_H_
#define APPS_MVFP_WEB_RPC_ERROR_H_

#include <QJsonObject>
#include <QString>

namespace corvex::mvfp_web {

enum class RpcCode {  // pages test these: add, never renumber
  kDriver = -32000,   // the driver gave the code that is in the data
  kBusy = -32001,     // another page's call, or an earlier one of this page
  kCancelled = -32002,
  kWorker = -32003,   // the call crashed or hung; the next one starts afresh
  kRefused = -32004,  // by mvfp, before the driver: a bad record, no port
  kParse = -32700,
  kRequest = -32600,
  kMethod = -32601,
  kParameters = -32602,
};

struct Words {
  const char* meaning;
  const char* meaning_zh;
  const char* remedy;
  const char* remedy_zh;
};

// An error of this service's own; `what` is for the developer, English.
QJsonObject OwnError(RpcCode code, const QString& what, const Words& words,
                     QJsonObject data = {});

// From what mvfp --json printed about a failed call.
QJsonObject ErrorOf(const QJsonObject& reply);

}  // namespace corvex::mvfp_web

#endif  // APPS_MVFP_WEB_RPC_ERROR_H_
