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
  kRecord = -32004,   // a record is malformed
  kSetUp = -32005,    // the service lacks what the call takes
  kNoPrint = -32006,  // a press without a print
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

constexpr Words kCrashed = {"the call crashed", "调用异常终止",
                            "try again; if it stays, tell the operator",
                            "请重试；若仍然如此，请联系管理员"};

// An error of this service's own; `what` is for the developer, English.
QJsonObject OwnError(RpcCode code, const QString& what, const Words& words,
                     QJsonObject data = {});

// From what mvfp --json printed about a failed call, to which a page may have
// given records.
QJsonObject ErrorOf(const QJsonObject& reply, bool has_records);

}  // namespace corvex::mvfp_web

#endif  // APPS_MVFP_WEB_RPC_ERROR_H_
