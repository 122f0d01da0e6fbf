#include "mvfp_web/rpc_error.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <utility>

#include "result_codes_table.h"

namespace corvex::mvfp_web {
namespace {

QJsonObject Error(RpcCode code, const QString& message, QJsonObject data) {
  return {{"code", static_cast<int>(code)},
          {"message", message},
          {"data", std::move(data)}};
}

const QJsonArray& Table() {
  static const QJsonArray rows =
      QJsonDocument::fromJson(QByteArray(kResultCodes)).array();
  return rows;
}

// mvfp prints the English columns of the rows that can be meant.
QJsonObject InBothLanguages(const QJsonObject& printed) {
  const auto same = [&](const QJsonObject& row, const char* column) {
    return row[column] == printed[column];
  };
  for (const QJsonValueConstRef value : Table()) {
    QJsonObject row = value.toObject();
    if (same(row, "code") && same(row, "meaning")) return row;
  }
  return printed;
}

// A record's place in memory is nothing that a page would know.
QString WithoutPlaces(QString text) {
  static const QRegularExpression place("/proc/self/fd/[0-9]+");
  return text.replace(place, "a record");
}

// What mvfp itself found, and no call of the driver.
QJsonObject ToolError(const QJsonObject& reply, const QString& what,
                      bool has_records) {
  constexpr int kNo = 1;     // not one whole record
  constexpr int kUsage = 2;  // no record to be read at all
  constexpr int kNoPress = 3;
  const QJsonObject error = reply["error"].toObject();
  if (error.contains("signal")) {
    return OwnError(RpcCode::kWorker, what, kCrashed);
  }
  if (reply["exit_code"] == kNoPress) {
    return OwnError(
        RpcCode::kNoPrint, what,
        {"the reader took the press but found no print in it",
         "读头未从按压中得到指纹", "clean the sensor and press again",
         "请擦净传感器后重新按压"});
  }
  const QJsonValue exit_code = reply["exit_code"];
  if (has_records && (exit_code == kNo || exit_code == kUsage)) {
    return OwnError(RpcCode::kRecord, what,
                    {"a record is malformed", "指纹记录格式错误",
                     "enrol or capture again", "请重新登记或采集"});
  }
  return OwnError(RpcCode::kSetUp, what,
                  {"this terminal is not set up for the call",
                   "此终端未按此调用配置", "tell the operator", "请联系管理员"},
                  {{"next", error["next"]}});
}

}  // namespace

QJsonObject OwnError(RpcCode code, const QString& what, const Words& words,
                     QJsonObject data) {
  const QJsonObject row{{"meaning", words.meaning},
                        {"meaning_zh", words.meaning_zh},
                        {"remedy", words.remedy},
                        {"remedy_zh", words.remedy_zh}};
  data["meanings"] = QJsonArray{row};
  return Error(code, what, data);
}

QJsonObject ErrorOf(const QJsonObject& reply, bool has_records) {
  const QJsonObject error = reply["error"].toObject();
  const QString what = WithoutPlaces(error["what"].toString());
  if (!error.contains("code")) {
    return ToolError(reply, what, has_records);
  }
  QJsonArray rows;
  for (const QJsonValueConstRef row : error["meanings"].toArray()) {
    rows.append(InBothLanguages(row.toObject()));
  }
  return Error(RpcCode::kDriver, what,
               {{"function", error["function"]},
                {"code", error["code"]},
                {"message", error["message"]},
                {"meanings", rows},
                {"next", error["next"]}});
}

}  // namespace corvex::mvfp_web
