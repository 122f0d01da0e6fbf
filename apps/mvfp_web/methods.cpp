#include "mvfp_web/methods.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace corvex::mvfp_web {
namespace {

using std::chrono::seconds;

// A whole number that a page may give, and the option of mvfp that takes it.
struct Number {
  const char* name;
  const char* option;
  int least;
  int most;
};

constexpr Number kTimeout = {"timeout", "--timeout", 1, 600};
constexpr Number kLevel = {"level", "--level", 1, 5};
constexpr Number kLevelOrScore = {"level", "--level", 0, 5};
constexpr Number kBest = {"best", "--best", 1, 100};

struct Method {
  const char* name;
  const char* command;  // of mvfp
  std::array<const Number*, 3> numbers;
  std::array<const char*, 2> records;
  int timeout_s;  // when the page names none
  int presses;
  bool uses_reader;
  bool may_be_guided;
};

constexpr Method kMethods[] = {
    {"reader.version", "version", {}, {}, 0, 0, true, false},
    {"reader.serial", "sn", {}, {}, 0, 0, true, false},
    {"reader.pressed", "probe", {}, {}, 0, 0, true, false},
    {"reader.capture", "capture", {&kTimeout}, {}, 20, 1, true, false},
    {"reader.enroll", "enroll", {&kTimeout}, {}, 60, 3, true, true},
    {"record.match",
     "match",
     {&kLevelOrScore},
     {"first", "second"},
     0,
     0,
     false,
     false},
    {"gallery.identify",
     "identify",
     {&kTimeout, &kLevel, &kBest},
     {"record"},
     20,
     1,
     true,
     false},
};

// The longest text that mvfp reads.
constexpr qsizetype kLongestRecord = 4096;

// What a call may take beyond its time-out: a reader that falls silent is
// waited for again and again, the last press is read and three are merged, a
// window opens and closes.
constexpr seconds kBeyond{60};

// Takes parameters one by one; what nobody took is refused in the end.
class Parameters {
 public:
  Parameters(const QJsonObject& given, QString* trouble)
      : left_(given), trouble_(trouble) {}

  bool Has(const char* name) const {
    return left_.contains(QLatin1String(name));
  }

  int TakeNumber(const Number& number, int usual) {
    const QJsonValue value = left_.take(QLatin1String(number.name));
    if (value.isUndefined()) return usual;
    const int given = value.toInt(number.least - 1);
    if (given < number.least || given > number.most) {
      Refuse(QString("\"%1\" must be a whole number from %2 to %3")
                 .arg(number.name)
                 .arg(number.least)
                 .arg(number.most));
    }
    return given;
  }

  bool TakeFlag(const char* name) {
    const QJsonValue value = left_.take(QLatin1String(name));
    if (!value.isUndefined() && !value.isBool()) {
      Refuse(QString("\"%1\" must be true or false").arg(name));
    }
    return value.toBool();
  }

  QString TakeRecord(const char* name) {
    QString text = left_.take(QLatin1String(name)).toString();
    const bool is_text = std::all_of(text.begin(), text.end(), [](QChar c) {
      return c > QChar(' ') && c <= QChar('~');
    });
    if (text.isEmpty() || text.size() > kLongestRecord || !is_text) {
      Refuse(QString("\"%1\" must be the text of a record").arg(name));
    }
    return text;
  }

  bool AreFine() {
    if (!left_.isEmpty()) {
      Refuse(QString("\"%1\" is no parameter of this method")
                 .arg(left_.keys().first().left(40)));
    }
    return trouble_->isEmpty();
  }

 private:
  void Refuse(const QString& why) {
    if (trouble_->isEmpty()) *trouble_ = why;
  }

  QJsonObject left_;
  QString* trouble_;
};

const Method* Find(const QString& name) {
  const auto* const found =
      std::find_if(std::begin(kMethods), std::end(kMethods),
                   [&](const Method& m) { return name == m.name; });
  return found == std::end(kMethods) ? nullptr : found;
}

void TakeNumbers(const Method& method, Parameters* parameters, Call* call) {
  for (const Number* number : method.numbers) {
    if (number == nullptr) continue;
    if (number != &kTimeout) {
      if (!parameters->Has(number->name)) continue;
      call->job.arguments << number->option
                          << QString::number(
                                 parameters->TakeNumber(*number, 0));
      continue;
    }
    call->timeout_s = parameters->TakeNumber(kTimeout, method.timeout_s);
    call->job.arguments << kTimeout.option << QString::number(call->timeout_s);
  }
}

void NameReader(const Settings& settings, QStringList* arguments) {
  if (!settings.reader.isEmpty()) *arguments << "--port" << settings.reader;
  if (!settings.box.isEmpty()) *arguments << "--box" << settings.box;
}

// Of a record that was given instead of a press, no reader is asked.
void TakeRecords(const Method& method, Parameters* parameters, Call* call) {
  const bool instead = method.uses_reader;
  for (const char* name : method.records) {
    if (name == nullptr || (instead && !parameters->Has(name))) continue;
    call->job.records << parameters->TakeRecord(name);
    if (!instead) continue;
    call->job.arguments << "--record";
    call->uses_reader = false;
    call->timeout_s = 0;
    call->presses = 0;
  }
}

}  // namespace

Understood Understand(const QString& name, const QJsonObject& given,
                      const Settings& settings, Call* call, QString* trouble) {
  const Method* const method = Find(name);
  if (method == nullptr) {
    *trouble = "there is no method of this name";
    return Understood::kNoSuchMethod;
  }
  Parameters parameters(given, trouble);
  QStringList& arguments = call->job.arguments;
  arguments << method->command << "--json";
  call->uses_reader = method->uses_reader;
  call->presses = method->presses;
  if (method->uses_reader) NameReader(settings, &arguments);
  TakeNumbers(*method, &parameters, call);
  if (method->may_be_guided && parameters.TakeFlag("guided")) {
    arguments << "--guided";
  }
  if (name == "gallery.identify") {
    if (settings.gallery.isEmpty()) {
      *trouble = "no gallery is configured here";
      return Understood::kNoGallery;
    }
    arguments << "--gallery" << settings.gallery;
  }
  TakeRecords(*method, &parameters, call);
  call->job.most = seconds(call->timeout_s) + kBeyond;
  return parameters.AreFine() ? Understood::kYes : Understood::kBadParameters;
}

}  // namespace corvex::mvfp_web
