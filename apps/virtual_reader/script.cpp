#include "virtual_reader/script.h"

#include <algorithm>
#include <stdexcept>

namespace corvex::vreader {
namespace {

constexpr uint32_t kMaxTime = 24 * 3600 * 1000;
constexpr uint32_t kMaxCount = 1000000;

[[noreturn]] void Fail(const std::string& token, const std::string& problem) {
  throw std::invalid_argument("'" + token + "': " + problem);
}

// A command's name, and the words behind it taken one by one.
class Words {
 public:
  explicit Words(std::vector<std::string> words) : words_(std::move(words)) {}

  const std::string& Name() const { return words_[0]; }
  bool Empty() const { return next_ == words_.size(); }

  const std::string& Take(const std::string& what) {
    if (Empty()) Fail(Name(), "needs " + what);
    return words_[next_++];
  }
  uint32_t TakeNumber(const char* what, uint32_t least, uint32_t most) {
    const std::string& token = Take(what);
    const auto value = ParseNumber(token);
    if (!value || *value < least || *value > most) {
      Fail(token, "expected a number from " + std::to_string(least) + " to " +
                      std::to_string(most));
    }
    return *value;
  }
  int TakeCount(const char* what) {
    return static_cast<int>(TakeNumber(what, 1, kMaxCount));
  }
  void ExpectEnd() const {
    if (!Empty()) Fail(words_[next_], "not expected after " + Name());
  }

 private:
  std::vector<std::string> words_;
  size_t next_ = 1;
};

struct FaultKind {
  std::string_view name;
  Fault::Number Fault::*number;
  const char* what;  // the number means; null: none is given
  uint32_t most;
};
constexpr FaultKind kFaultKinds[] = {
    {"silence", &Fault::silence, nullptr, 0},
    {"lower", &Fault::lower_case, nullptr, 0},
    {"delay", &Fault::delay, "milliseconds", kMaxTime},
    {"dribble", &Fault::dribble, "milliseconds", kMaxTime},
    {"truncate", &Fault::truncate_at, "a length", kMaxCount},
    {"flip", &Fault::flip_at, "a position", kMaxCount},
    {"double", &Fault::double_at, "a position", kMaxCount},
    {"garbage", nullptr, "bytes in hexadecimal", 0},
    {"mark", &Fault::mark, "a byte", 0xFF},
    {"echo", &Fault::echo, "a byte", 0xFF},
    {"status", &Fault::status, "a byte", 0xFF},
    {"marker", &Fault::marker, "a byte", 0xFF},
    {"length", &Fault::length, "a length", UINT32_MAX},
    {"crc", &Fault::crc, "a check value", UINT32_MAX},
    {"hang-up", &Fault::hang_up_at, "a length", kMaxCount},
};

void TakeFaultPart(Words* words, Fault* fault) {
  const FaultKind* const kind = FindNamed(kFaultKinds, words->Name());
  if (kind == nullptr) Fail(words->Name(), "no such fault");
  if (kind->number == nullptr) {
    const std::string& hex = words->Take(kind->what);
    const auto bytes = FromHex(hex);
    if (!bytes) Fail(hex, std::string("expected ") + kind->what);
    fault->garbage.assign(bytes->begin(), bytes->end());
  } else if (kind->what == nullptr ||
             (words->Name() == "hang-up" && words->Empty())) {
    fault->*kind->number = 0;
  } else {
    fault->*kind->number = words->TakeNumber(kind->what, 0, kind->most);
  }
  if (words->Name() == "flip" && !words->Empty()) {
    fault->flip_bit = words->TakeNumber("a bit", 0, 7);
  }
  words->ExpectEnd();
}

// FAULT [+ FAULT ...] [on COMMAND]
Fault ParseFault(std::vector<std::string> words) {
  Fault fault;
  if (words.size() >= 2 && words[words.size() - 2] == "on") {
    fault.only = FindCommand(words.back());
    if (fault.only == nullptr) {
      Fail(words.back(),
           "expected version, speed, probe, capture, serial, led or beep");
    }
    words.resize(words.size() - 2);
  }
  words.push_back("+");
  for (auto part = words.begin(); part != words.end();) {
    const auto end = std::find(part, words.end(), "+");
    if (part == end) Fail("+", "needs a fault on both sides");
    Words part_words({part, end});
    TakeFaultPart(&part_words, &fault);
    part = end + 1;
  }
  return fault;
}

struct Event {
  std::string_view name;
  int Tally::*counter;
};
constexpr Event kEvents[] = {
    {"request", &Tally::requests}, {"probe", &Tally::probes},
    {"capture", &Tally::captures}, {"beep", &Tally::beeps},
    {"led", &Tally::leds},         {"selector", &Tally::selectors},
};

void TakeEvents(Words* words, const FingerBook&, Step* step) {
  const std::string& token = words->Take("what to wait for");
  const bool plural = token.back() == 's';
  const Event* const event =
      FindNamed(kEvents, token.substr(0, token.size() - (plural ? 1 : 0)));
  if (event == nullptr) {
    Fail(token, "expected request, probe, capture, beep, led or selector");
  }
  step->counter = event->counter;
  step->count = words->Empty() ? 1 : words->TakeCount("a count");
}

void TakeTime(Words* words, const FingerBook&, Step* step) {
  step->time =
      std::chrono::milliseconds(words->TakeNumber("milliseconds", 0, kMaxTime));
}

void TakePress(Words* words, const FingerBook& book, Step* step) {
  const std::string finger = words->Take("a finger");
  const int impression = words->Empty() ? 0 : words->TakeCount("an impression");
  if (!book.Find(finger, impression)) {
    Fail(finger, "no such finger or impression");
  }
  step->act = [=](Device* d) { d->Press(finger, impression); };
}

void TakeVersion(Words* words, const FingerBook&, Step* step) {
  Bytes version;
  while (!words->Empty()) {
    const uint32_t byte = words->TakeNumber("a byte", 0, 0xFF);
    version.push_back(static_cast<uint8_t>(byte));
  }
  step->act = [=](Device* d) { d->SetVersion(version); };
}

void TakeSerial(Words* words, const FingerBook&, Step* step) {
  const std::string& text = words->Take("a text");
  const Bytes serial(text.begin(), text.end());
  step->act = [=](Device* d) { d->SetSerial(serial); };
}

struct Verb {
  std::string_view name;
  void (*take)(Words*, const FingerBook&, Step*);  // null: no words follow
  void (Device::*act)();  // null: nothing, or what `take` says
};
constexpr Verb kVerbs[] = {
    {"press", TakePress, nullptr},       {"lift", nullptr, &Device::Lift},
    {"hold", TakeEvents, &Device::Lift}, {"wait", TakeTime, nullptr},
    {"wait-for", TakeEvents, nullptr},   {"version", TakeVersion, nullptr},
    {"serial", TakeSerial, nullptr},     {"unplug", nullptr, &Device::Unplug},
    {"quit", nullptr, &Device::Quit},
};

Step ParseCommand(const std::vector<std::string>& tokens,
                  const FingerBook& book) {
  Step step;
  if (const Verb* const verb = FindNamed(kVerbs, tokens[0])) {
    Words words(tokens);
    if (verb->act != nullptr) step.act = std::mem_fn(verb->act);
    if (verb->take != nullptr) verb->take(&words, book, &step);
    words.ExpectEnd();
  } else if (FindNamed(kFaultKinds, tokens[0]) != nullptr) {
    const Fault fault = ParseFault(tokens);
    step.act = [=](Device* d) { d->Arm(fault); };
  } else {
    Fail(tokens[0], "no such command");
  }
  return step;
}

}  // namespace

Script ParseScript(std::string_view text, const FingerBook& book,
                   int first_line) {
  Script script;
  int number = first_line - 1;
  for (const std::string& line : Split(text, '\n')) {
    ++number;
    for (const auto& command : Split(line.substr(0, line.find('#')), ';')) {
      const auto tokens = SplitWords(command);
      if (tokens.empty()) continue;
      try {
        script.steps.push_back(ParseCommand(tokens, book));
      } catch (const std::invalid_argument& error) {
        script.errors.push_back("line " + std::to_string(number) + ": " +
                                error.what());
      }
    }
  }
  return script;
}

void Timeline::Advance(Device* device, TimePoint now) {
  for (; !steps_.empty(); steps_.pop_front()) {
    const Step& step = steps_.front();
    const int count = device->tally().*step.counter;
    if (!waiting_) {
      waiting_ = true;
      goal_ = count + step.count;
      if (step.time.count() > 0) due_ = now + step.time;
    }
    if (count < goal_ || (due_ != TimePoint::max() && now < due_)) return;
    waiting_ = false;
    due_ = TimePoint::max();
    if (step.act) step.act(device);
  }
}

}  // namespace corvex::vreader
