// Where calls are handed in: one at a time gets through to the reader, one to
// the comparison of records, and whoever comes second is told at once.
#ifndef APPS_MVFP_WEB_DESK_H_
#define APPS_MVFP_WEB_DESK_H_

#include <QDateTime>
#include <QJsonObject>
#include <QJsonValue>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>

#include "mvfp_web/methods.h"
#include "mvfp_web/worker.h"

namespace corvex::mvfp_web {

// Who called; the address of a page is all that the desk knows of it.
class Caller {
 public:
  virtual ~Caller() = default;
  virtual QString Origin() const = 0;
  virtual void Answer(const QJsonValue& id, const QJsonObject& answer) = 0;
  virtual void Notify(const QJsonObject& progress) = 0;
};

class Desk {
 public:
  Desk();

  void Take(Caller* caller, const QJsonValue& id, const Call& call);

  // Ends the caller's call of this id; false when it has none.
  bool Cancel(Caller* caller, const QJsonValue& id);

  // The caller is gone: nothing more is said to it, and its calls are ended.
  void Leave(Caller* caller);

  // Ends all calls, of which nothing more is said: their pages see the service
  // end. `empty` is called once they have.
  void Close(std::function<void()> empty);

 private:
  struct Ticket {
    Caller* caller;  // null when it has left
    QJsonValue id;
    Call call;
    QString origin;
    QDateTime since;
    bool cancelled = false;
  };
  struct Counter {
    std::optional<Ticket> now;
    std::optional<Ticket> next;  // only while the one before is being ended
    std::unique_ptr<Worker> worker;
    QTimer second;
  };

  void Begin(Counter* counter);
  void Tell(Counter* counter, const char* state);
  void Finish(Counter* counter, const Outcome& outcome);
  void Drop(Counter* counter, const std::function<bool(const Ticket&)>& which);

  Counter reader_;
  Counter records_;
  std::function<void()> empty_;
};

}  // namespace corvex::mvfp_web

#endif  // APPS_MVFP_WEB_DESK_H_
