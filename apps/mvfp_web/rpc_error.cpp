#include "mvfp_web/rpc_error.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <utility>

#include "mvfp_web/result_codes_table.h"

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
    const QJsonObject row = value.toObject();
    if (same(row, "code") && same(row, "meaning")) return row;
  }
  return printed;
}

// A record's place in memory is nothing that a page would know.
QString WithoutPlaces(QString text) {
  static const QRegularExpression place("/proc/self/fd/[0-9]+");
  return text.replace(place, "a record");
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

QJsonObject ErrorOf(const QJsonObject& reply) {
  const QJsonObject error = reply["error"].toObject();
  const QString what = WithoutPlaces(error["what"].toString());
  if (error.contains("signal")) {
    return OwnError(RpcCode::kWorker, what,
                    {"the call crashed", "调用异常终止",
                     "try again; if it stays, tell the operator",
                     "请重试；若仍然如此，请联系管理员"});
  }
  if (!error.contains("code")) {
    const bool no_print = reply["exit_code"] == 3;
    return OwnError(
        RpcCode::kRefused, what,
        no_print
            ? Words{"the reader took the press but found no print in it",
                    "读头未从按压中得到指纹",
                    "clean the sensor and press again",
                    "请擦净传感器后重新按压"}
            : Words{"the request cannot be carried out as it is",
                    "无法执行此请求", "look at what it says", "请查看详细信息"},
        {{"next", error["next"]}});
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
