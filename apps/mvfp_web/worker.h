// One run of mvfp, which makes one call of the driver in a process of its own.
#ifndef APPS_MVFP_WEB_WORKER_H_
#define APPS_MVFP_WEB_WORKER_H_

#include <QJsonObject>
#include <QObject>
#include <QProcess>
#include <QStringList>
#include <QTimer>
#include <chrono>
#include <functional>
#include <list>

namespace corvex::mvfp_web {

// What mvfp is to do.
struct Job {
  QStringList arguments;
  // Their files become the last arguments. On the command line itself every
  // user of the machine could read them.
  QStringList records;
  std::chrono::seconds most{};  // a call that takes longer has hung
};

// How it ended.
struct Outcome {
  enum Kind { kReply, kCrashed, kHung, kEnded, kNoTool };
  Kind kind = kReply;
  QJsonObject reply;  // of kReply: what mvfp --json printed
};

// The mvfp that lies beside this program.
QString ToolPath();

class Worker : public QObject {
 public:
  using Done = std::function<void(const Outcome&)>;

  // `done` is called once, from Start at the earliest.
  explicit Worker(Done done);
  ~Worker() override;

  void Start(const Job& job);

  // Asks the call to end, and after a while ends it: within a second lock, port
  // and window are free, and `done` has been called.
  void End();
  bool IsEnding() const { return ending_; }

 private:
  class MemoryFile;

  void Finish(const Outcome& outcome);

  QProcess process_;
  std::list<MemoryFile> records_;
  QTimer limit_;
  QTimer patience_;
  Done done_;
  bool ending_ = false;
  bool asked_again_ = false;
  bool hung_ = false;
};

}  // namespace corvex::mvfp_web

#endif  // APPS_MVFP_WEB_WORKER_H_
