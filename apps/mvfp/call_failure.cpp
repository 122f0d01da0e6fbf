#include "call_failure.h"

#include <cstring>

#include "port.h"

namespace corvex::mvfp {
namespace {

ExitCode ExitFor(Call call, int code) {
  const bool is_capture =
      call == kGetFeature || call == kGetTemplate || call == kTipsGetTemplate;
  const bool is_no_press = code == FG_ERR_TIMEOUT || code == FG_ERR_CANCELLED;
  return is_capture && is_no_press ? kExitNoPress : kExitFailed;
}

std::string CodeText(Call call, int code) {
  return std::string(NameOf(call)) + " " + std::to_string(code);
}

// What the tool can see for itself says more than the general remedy.
std::string RemedyFor(const CodeMeaning& meaning, const std::string& port) {
  if (meaning.code != FG_ERR_PORT || meaning.stage != Stage::kAtOnce) {
    return meaning.remedy;
  }
  const std::string trouble = PortTrouble(port);
  return trouble.empty() ? meaning.remedy : trouble;
}

void Describe(const std::vector<const CodeMeaning*>& meanings,
              const std::string& port, Failure* failure) {
  for (const CodeMeaning* meaning : meanings) {
    const bool is_first = meaning == meanings.front();
    failure->what += (is_first ? "" : "; or ") + std::string(meaning->meaning);
    failure->next += (is_first ? "" : "; or ") + RemedyFor(*meaning, port);
    failure->details["meanings"].push_back(ToJson(*meaning));
  }
}

int PrintInterrupted(const Config& config, int signal_number) {
  Failure failure;
  failure.what = "interrupted; the port and the reader are free again";
  failure.exit_code = 128 + signal_number;
  failure.details["signal"] = signal_number;
  PrintFailure(config, failure);
  EndBySignal(signal_number);
}

int PrintCrashed(const Config& config, Call call, int signal_number) {
  Failure failure;
  failure.what = std::string("the driver crashed in ") + NameOf(call) + ": " +
                 strsignal(signal_number);
  failure.next = "report this, with the day's log: mvfp log on";
  failure.details["signal"] = signal_number;
  return PrintFailure(config, failure);
}

}  // namespace

Json ToJson(const CodeMeaning& meaning) {
  return {{"name", meaning.name},
          {"meaning", meaning.meaning},
          {"cause", meaning.cause},
          {"remedy", meaning.remedy}};
}

Failure DescribeCode(Call call, int code, const std::string& message,
                     long elapsed_ms, const std::string& port) {
  Failure failure;
  failure.exit_code = ExitFor(call, code);
  failure.details = {
      {"function", NameOf(call)}, {"code", code}, {"message", message}};
  failure.details["meanings"] = Json::array();
  const auto meanings = MeaningsOf(call, code, message, elapsed_ms);
  Describe(meanings, port, &failure);
  if (meanings.empty()) {
    failure.what = "the driver gave a code that this tool does not know";
    failure.next = "see the day's log: mvfp log on";
  }
  failure.what += " (" + CodeText(call, code) + ")";
  return failure;
}

int PrintCallFailure(const Config& config, Call call, const Outcome& outcome,
                     const std::string& port) {
  if (outcome.interrupted_by != 0) {
    return PrintInterrupted(config, outcome.interrupted_by);
  }
  if (outcome.crashed_by != 0) {
    return PrintCrashed(config, call, outcome.crashed_by);
  }
  return PrintFailure(
      config, DescribeCode(call, outcome.reply.rc, outcome.reply.message,
                           outcome.elapsed_ms, port));
}

}  // namespace corvex::mvfp
