#include "mvfp_web/worker.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QJsonDocument>
#include <csignal>
#include <utility>

namespace corvex::mvfp_web {
namespace {

// mvfp lets the reader finish its sentence; asked again it does not, and
// restores the port at once. The kernel ends the driver's process with it.
constexpr auto kPatience = std::chrono::milliseconds(400);

// The beginning of the child: it may call what a signal handler may.
void BecomeWorker(pid_t parent) {
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) _exit(0);
}

}  // namespace

QString ToolPath() { return QCoreApplication::applicationDirPath() + "/mvfp"; }

// A file that nobody else can open, and that is gone with its last user.
class Worker::MemoryFile {
 public:
  explicit MemoryFile(const QByteArray& text)
      : file_(memfd_create("record", MFD_CLOEXEC)) {
    written_ = write(file_, text.constData(),
                     static_cast<size_t>(text.size())) == text.size();
  }
  ~MemoryFile() { close(file_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  bool IsWritten() const { return written_; }
  QString Path() const { return "/proc/self/fd/" + QString::number(file_); }
  void Inherit() const { fcntl(file_, F_SETFD, 0); }

 private:
  int file_;
  bool written_;
};

Worker::Worker(Done done) : done_(std::move(done)) {
  connect(&process_, &QProcess::errorOccurred, this,
          [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart)
              Finish({Outcome::kNoTool, {}});
          });
  connect(&process_, &QProcess::finished, this,
          [this](int, QProcess::ExitStatus) {
            const auto reply =
                QJsonDocument::fromJson(process_.readAllStandardOutput());
            if (hung_) return Finish({Outcome::kHung, {}});
            if (ending_) return Finish({Outcome::kEnded, {}});
            if (!reply.isObject()) return Finish({Outcome::kCrashed, {}});
            Finish({Outcome::kReply, reply.object()});
          });
  limit_.setSingleShot(true);
  limit_.callOnTimeout([this] {
    hung_ = true;
    End();
  });
  patience_.setInterval(kPatience);
  patience_.callOnTimeout([this] {
    asked_again_ ? process_.kill() : process_.terminate();
    asked_again_ = true;
  });
}

Worker::~Worker() {
  // What is still running is not to call back.
  process_.disconnect();
}

void Worker::Start(const Job& job) {
  QStringList arguments = job.arguments;
  for (const QString& record : job.records) {
    const MemoryFile& file = records_.emplace_back(record.toLatin1());
    if (!file.IsWritten()) return Finish({Outcome::kNoTool, {}});
    arguments.append("@" + file.Path());
  }
  process_.setProgram(ToolPath());
  process_.setArguments(arguments);
  process_.setStandardInputFile(QProcess::nullDevice());
  process_.setStandardErrorFile(QProcess::nullDevice());
  process_.setChildProcessModifier([this, parent = getpid()] {
    BecomeWorker(parent);
    for (const MemoryFile& file : records_) file.Inherit();
  });
  limit_.start(job.most);
  process_.start();
}

void Worker::End() {
  if (ending_) return;
  ending_ = true;
  process_.terminate();
  patience_.start();
}

void Worker::Finish(const Outcome& outcome) {
  limit_.stop();
  patience_.stop();
  const Done done = std::exchange(done_, nullptr);
  if (done) done(outcome);
}

}  // namespace corvex::mvfp_web
