#include "virtual_reader/script.h"

#include <functional>
#include <limits>
#include <map>
#include <stdexcept>

#include "virtual_reader/text.h"

namespace corvex::vreader {
namespace {

using Words = std::vector<std::string>;

// What is wrong with a command; becomes one of the script's errors.
class ScriptError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

[[noreturn]] void Fail(const std::string& token, const std::string& problem) {
  throw ScriptError("'" + token + "': " + problem);
}

uint32_t Number(const std::string& token, uint32_t least, uint32_t most) {
  const auto value = ParseNumber(token);
  if (!value || *value < least || *value > most) {
    Fail(token, "expected a number from " + std::to_string(least) + " to " +
                    std::to_string(most));
  }
  return *value;
}

constexpr uint32_t kMaxTime = 24 * 3600 * 1000;
constexpr uint32_t kMaxCount = 1000000;

std::chrono::milliseconds Milliseconds(const std::string& token) {
  return std::chrono::milliseconds(Number(token, 0, kMaxTime));
}

uint8_t Byte(const std::string& token) {
  return static_cast<uint8_t>(Number(token, 0, 0xFF));
}

// The words behind a command's name, taken one by one.
class Arguments {
 public:
  Arguments(std::string command, Words words)
      : command_(std::move(command)), words_(std::move(words)) {}

  bool Empty() const { return next_ == words_.size(); }
  const std::string& Take(const char* what) {
    if (Empty()) Fail(command_, std::string("needs ") + what);
    return words_[next_++];
  }
  void ExpectEnd() const {
    if (!Empty()) Fail(words_[next_], "not expected after " + command_);
  }

 private:
  std::string command_;
  Words words_;
  size_t next_ = 0;
};

int Tally::*Counter(std::string token) {
  static const std::map<std::string, int Tally::*> kCounters = {
      {"request", &Tally::requests}, {"probe", &Tally::probes},
      {"capture", &Tally::captures}, {"beep", &Tally::beeps},
      {"led", &Tally::leds},         {"selector", &Tally::selectors}};
  const std::string shown = token;
  if (!token.empty() && token.back() == 's') token.pop_back();
  const auto found = kCounters.find(token);
  if (found == kCounters.end()) {
    Fail(shown, "expected request, probe, capture, beep, led or selector");
  }
  return found->second;
}

WaitForStep TakeWaitFor(Arguments* arguments) {
  const auto counter = Counter(arguments->Take("what to wait for"));
  uint32_t count = 1;
  if (!arguments->Empty()) {
    count = Number(arguments->Take("a count"), 1, kMaxCount);
  }
  return {counter, static_cast<int>(count)};
}

// What each fault's word does to the fault.
using FaultPart = std::function<void(Fault*, Arguments*)>;

const std::map<std::string, FaultPart>& FaultParts() {
  static const std::map<std::string, FaultPart> kParts = {
      {"silence", [](Fault* f, Arguments*) { f->silence = true; }},
      {"lower", [](Fault* f, Arguments*) { f->lower_case = true; }},
      {"delay",
       [](Fault* f, Arguments* a) {
         f->delay = Milliseconds(a->Take("milliseconds"));
       }},
      {"dribble",
       [](Fault* f, Arguments* a) {
         f->dribble = Milliseconds(a->Take("milliseconds"));
       }},
      {"truncate",
       [](Fault* f, Arguments* a) {
         f->truncate_at = Number(a->Take("a length"), 0, kMaxCount);
       }},
      {"flip",
       [](Fault* f, Arguments* a) {
         f->flip_at = Number(a->Take("a position"), 0, kMaxCount);
         if (!a->Empty()) {
           f->flip_bit = static_cast<int>(Number(a->Take("a bit"), 0, 7));
         }
       }},
      {"double",
       [](Fault* f, Arguments* a) {
         f->double_at = Number(a->Take("a position"), 0, kMaxCount);
       }},
      {"garbage",
       [](Fault* f, Arguments* a) {
         const std::string& hex = a->Take("bytes in hexadecimal");
         const auto bytes = FromHex(hex);
         if (!bytes) Fail(hex, "expected bytes in hexadecimal");
         f->garbage.assign(bytes->begin(), bytes->end());
       }},
      {"mark",
       [](Fault* f, Arguments* a) { f->mark = Byte(a->Take("a byte")); }},
      {"echo",
       [](Fault* f, Arguments* a) { f->echo = Byte(a->Take("a byte")); }},
      {"status",
       [](Fault* f, Arguments* a) { f->status = Byte(a->Take("a byte")); }},
      {"marker",
       [](Fault* f, Arguments* a) { f->marker = Byte(a->Take("a byte")); }},
      {"length",
       [](Fault* f, Arguments* a) {
         f->length = Number(a->Take("a length"), 0,
                            std::numeric_limits<uint32_t>::max());
       }},
      {"crc",
       [](Fault* f, Arguments* a) {
         f->crc = Number(a->Take("a check value"), 0,
                         std::numeric_limits<uint32_t>::max());
       }},
      {"hang-up",
       [](Fault* f, Arguments* a) {
         f->hang_up_at =
             a->Empty() ? 0 : Number(a->Take("a length"), 0, kMaxCount);
       }},
  };
  return kParts;
}

// FAULT [+ FAULT ...] [on COMMAND]
FaultStep TakeFault(Words words) {
  FaultStep step;
  if (words.size() >= 2 && words[words.size() - 2] == "on") {
    step.fault.only = FindCommand(words.back());
    if (step.fault.only == nullptr) {
      Fail(words.back(),
           "expected version, speed, probe, capture, serial, led or beep");
    }
    words.resize(words.size() - 2);
  }
  words.push_back("+");
  Words part;
  for (std::string& word : words) {
    if (word != "+") {
      part.push_back(std::move(word));
      continue;
    }
    if (part.empty()) Fail("+", "needs a fault on both sides");
    const auto found = FaultParts().find(part[0]);
    if (found == FaultParts().end()) Fail(part[0], "no such fault");
    Arguments arguments(part[0], Words(part.begin() + 1, part.end()));
    found->second(&step.fault, &arguments);
    arguments.ExpectEnd();
    part.clear();
  }
  return step;
}

PressStep TakePress(Arguments* arguments) {
  PressStep step;
  step.finger = arguments->Take("a finger");
  if (!arguments->Empty()) {
    step.impression = static_cast<int>(
        Number(arguments->Take("an impression"), 1, kMaxCount));
  }
  return step;
}

using StepsOf = std::function<std::vector<Step>(Arguments*)>;

const std::map<std::string, StepsOf>& StepKinds() {
  using Steps = std::vector<Step>;
  static const std::map<std::string, StepsOf> kKinds = {
      {"press", [](Arguments* a) { return Steps{TakePress(a)}; }},
      {"lift", [](Arguments*) { return Steps{LiftStep{}}; }},
      {"hold",
       [](Arguments* a) {
         return Steps{TakeWaitFor(a), LiftStep{}};
       }},
      {"wait",
       [](Arguments* a) {
         return Steps{WaitStep{Milliseconds(a->Take("milliseconds"))}};
       }},
      {"wait-for", [](Arguments* a) { return Steps{TakeWaitFor(a)}; }},
      {"version",
       [](Arguments* a) {
         VersionStep step;
         while (!a->Empty()) step.version.push_back(Byte(a->Take("a byte")));
         return Steps{step};
       }},
      {"serial",
       [](Arguments* a) {
         const std::string& text = a->Take("a text");
         return Steps{SerialStep{Bytes(text.begin(), text.end())}};
       }},
      {"unplug", [](Arguments*) { return Steps{UnplugStep{}}; }},
      {"quit", [](Arguments*) { return Steps{QuitStep{}}; }},
  };
  return kKinds;
}

std::vector<Step> ParseCommand(const Words& words) {
  const auto kind = StepKinds().find(words[0]);
  if (kind != StepKinds().end()) {
    Arguments arguments(words[0], Words(words.begin() + 1, words.end()));
    auto steps = kind->second(&arguments);
    arguments.ExpectEnd();
    return steps;
  }
  if (FaultParts().count(words[0]) == 0) Fail(words[0], "no such command");
  return {TakeFault(words)};
}

void ParseLine(std::string_view line, const std::string& where,
               Script* script) {
  line = line.substr(0, line.find('#'));
  for (const std::string_view command : Split(line, ';')) {
    const Words words = SplitWords(command);
    if (words.empty()) continue;
    try {
      for (Step& step : ParseCommand(words)) {
        if (auto* press = std::get_if<PressStep>(&step)) press->where = where;
        script->steps.push_back(std::move(step));
      }
    } catch (const ScriptError& error) {
      script->errors.push_back(where + ": " + error.what());
    }
  }
}

}  // namespace

Script ParseScript(std::string_view text, int first_line) {
  Script script;
  int number = first_line;
  for (const std::string_view line : Split(text, '\n')) {
    ParseLine(line, "line " + std::to_string(number++), &script);
  }
  return script;
}

std::vector<std::string> FindMissing(const Script& script,
                                     const FingerBook& book) {
  std::vector<std::string> errors;
  for (const Step& step : script.steps) {
    const auto* press = std::get_if<PressStep>(&step);
    if (press == nullptr || book.Find(press->finger, press->impression)) {
      continue;
    }
    errors.push_back(press->where + ": '" + press->finger +
                     "': no such finger or impression");
  }
  return errors;
}

}  // namespace corvex::vreader
