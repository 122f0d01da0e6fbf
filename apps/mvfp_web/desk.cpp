#include "mvfp_web/desk.h"

#include <algorithm>
#include <utility>

#include "mvfp_web/rpc_error.h"

namespace corvex::mvfp_web {
namespace {

QJsonObject Failed(const QJsonObject& error) { return {{"error", error}}; }

QJsonObject BusyWith(const QString& origin, const QDateTime& since) {
  const QString time = since.toString(Qt::ISODate);
  return Failed(OwnError(
      RpcCode::kBusy, "busy with a call of " + origin + " since " + time,
      {"another page's call is running", "另一个页面正在使用",
       "try again when it has ended", "请待其结束后重试"},
      {{"origin", origin}, {"since", time}}));
}

QJsonObject Cancelled() {
  return Failed(OwnError(RpcCode::kCancelled, "cancelled",
                         {"the call was cancelled", "调用已取消",
                          "start it again", "请重新开始"}));
}

QJsonObject Broken(Outcome::Kind kind) {
  if (kind == Outcome::kNoTool) {
    return Failed(
        OwnError(RpcCode::kWorker, "mvfp cannot be started",
                 {"the tool mvfp cannot be started", "无法启动 mvfp 工具",
                  "install mv-fpi-tools", "请安装 mv-fpi-tools"}));
  }
  if (kind == Outcome::kHung) {
    return Failed(OwnError(RpcCode::kWorker, "the call hung, and was ended",
                           {"the call hung, and was ended",
                            "调用无响应，已终止", "try again", "请重试"}));
  }
  return Failed(OwnError(RpcCode::kWorker, "the call crashed", kCrashed));
}

QJsonObject AnswerTo(const Outcome& outcome, bool cancelled, bool has_records) {
  if (outcome.kind == Outcome::kReply && outcome.reply["ok"].toBool()) {
    QJsonObject result = outcome.reply;
    result.remove("ok");
    result.remove("command");
    return {{"result", result}};
  }
  if (cancelled || outcome.kind == Outcome::kEnded) return Cancelled();
  if (outcome.kind == Outcome::kReply) {
    return Failed(ErrorOf(outcome.reply, has_records));
  }
  return Broken(outcome.kind);
}

}  // namespace

Desk::Desk() {
  for (Counter* const counter : {&reader_, &records_}) {
    counter->second.setInterval(std::chrono::seconds(1));
    counter->second.callOnTimeout(
        [this, counter] { Tell(counter, "waiting"); });
  }
}

void Desk::Take(Caller* caller, const QJsonValue& id, const Call& call) {
  Counter& counter = call.uses_reader ? reader_ : records_;
  if (empty_) return;
  Ticket ticket{caller, id, call, caller->Origin(),
                QDateTime::currentDateTimeUtc()};
  if (!counter.now) {
    counter.now = std::move(ticket);
    Begin(&counter);
  } else if (counter.worker->IsEnding() && !counter.next) {
    counter.next = std::move(ticket);
  } else {
    const Ticket& holder = counter.next ? *counter.next : *counter.now;
    caller->Answer(id, BusyWith(holder.origin, holder.since));
  }
}

bool Desk::Cancel(Caller* caller, const QJsonValue& id) {
  bool found = false;
  const auto is_it = [&](const Ticket& ticket) {
    const bool matches = ticket.caller == caller && ticket.id == id;
    found = found || matches;
    return matches;
  };
  Drop(&reader_, is_it);
  Drop(&records_, is_it);
  return found;
}

void Desk::Leave(Caller* caller) {
  for (Counter* const counter : {&reader_, &records_}) {
    const auto is_its = [&](const Ticket& t) { return t.caller == caller; };
    Drop(counter, is_its);
    if (counter->now && is_its(*counter->now)) counter->now->caller = nullptr;
  }
}

void Desk::Close(std::function<void()> empty) {
  empty_ = std::move(empty);
  for (Counter* const counter : {&reader_, &records_}) {
    counter->next.reset();
    if (!counter->now) continue;
    counter->now->caller = nullptr;
    counter->worker->End();
  }
  if (!reader_.now && !records_.now) empty_();
}

void Desk::Drop(Counter* counter,
                const std::function<bool(const Ticket&)>& which) {
  if (counter->next && which(*counter->next)) {
    const Ticket ticket = *std::exchange(counter->next, std::nullopt);
    ticket.caller->Answer(ticket.id, Cancelled());
  }
  if (counter->now && which(*counter->now)) {
    counter->now->cancelled = true;
    counter->worker->End();
  }
}

void Desk::Begin(Counter* counter) {
  const Call call = counter->now->call;
  counter->worker = std::make_unique<Worker>(
      [this, counter](const Outcome& outcome) { Finish(counter, outcome); });
  if (call.timeout_s > 0) {
    Tell(counter, "waiting");
    counter->second.start();
  }
  counter->worker->Start(call.job);
}

void Desk::Tell(Counter* counter, const char* state) {
  const Ticket& ticket = *counter->now;
  if (ticket.caller == nullptr || ticket.call.timeout_s == 0) return;
  const int64_t waited = ticket.since.secsTo(QDateTime::currentDateTimeUtc());
  ticket.caller->Notify(
      {{"id", ticket.id},
       {"state", state},
       {"presses", ticket.call.presses},
       {"seconds_left", std::max<qint64>(0, ticket.call.timeout_s - waited)}});
}

void Desk::Finish(Counter* counter, const Outcome& outcome) {
  counter->second.stop();
  Tell(counter, "done");
  const Ticket ticket = *std::exchange(counter->now, std::nullopt);
  counter->worker.release()->deleteLater();
  if (counter->next) {
    counter->now = std::exchange(counter->next, std::nullopt);
    Begin(counter);
  }
  if (ticket.caller != nullptr) {
    ticket.caller->Answer(ticket.id,
                          AnswerTo(outcome, ticket.cancelled,
                                   !ticket.call.job.records.isEmpty()));
  }
  if (empty_ && !reader_.now && !records_.now) empty_();
}

}  // namespace corvex::mvfp_web
