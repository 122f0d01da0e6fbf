#include "result_codes.h"

#include <mv_fpi.h>
#include <strings.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>

namespace corvex::mvfp {
namespace {

struct CallName {
  Call call;
  const char* name;
};

constexpr CallName kCallNames[] = {
    {kGetDevVersion, "FG_GetDevVersion"},
    {kGetDevSn, "FG_GetDevSn"},
    {kCheckPressed, "FG_CheckPressed"},
    {kGetFeature, "FG_GetFeature"},
    {kGetTemplate, "FG_GetTemplate"},
    {kTipsGetTemplate, "FG_TipsGetTemplate"},
    {kFpMatch, "FG_FpMatch"},
    {kCommCall, "DEV_CommCall"},
};

constexpr unsigned kQueries = kGetDevVersion | kGetDevSn | kCommCall;
constexpr unsigned kEnrolments = kGetTemplate | kTipsGetTemplate;
constexpr unsigned kCaptures = kGetFeature | kEnrolments;
// The probe call reports any trouble of the exchange as "no finger".
constexpr unsigned kExchanges = kQueries | kCaptures;
constexpr unsigned kDeviceCalls = kExchanges | kCheckPressed;

// No call talks to the reader before its first pause of 250 ms is over.
constexpr long kFirstPauseMs = 250;

constexpr CodeMeaning kMeanings[] = {
    {kDeviceCalls & ~kCommCall, FG_ERR_ARGUMENT, "FG_ERR_ARGUMENT",
     Stage::kAtOnce, "", "an argument breaks its rule",
     "a NULL pointer, a link speed other than 9600, or a time-out out of range",
     "check the arguments against mv_fpi.h"},
    {kCommCall, FG_ERR_ARGUMENT, "FG_ERR_ARGUMENT", Stage::kAtOnce, "",
     "an argument or a field of the request breaks its rule",
     "a NULL pointer, a \"FunctionCode\" that is no string, or a "
     "\"RequestPort\" that is no string of 1 to 40 characters",
     R"(send {"FunctionCode": "0001", "RequestPort": "<n>"})"},
    {kFpMatch, FG_ERR_ARGUMENT, "FG_ERR_ARGUMENT", Stage::kAtOnce, "",
     "an argument breaks its rule", "a NULL record, or a level outside 0 to 5",
     "give two records and a level from 0 to 5"},
    {kGetFeature, FG_ERR_TIMEOUT, "FG_ERR_TIMEOUT", Stage::kAtOnce,
     "采集指纹特征超时", "no finger came in time",
     "nobody pressed, or the finger was too dry or too short on the sensor",
     "press firmly until the reader beeps, or allow more time with --timeout"},
    {kEnrolments, FG_ERR_TIMEOUT, "FG_ERR_TIMEOUT", Stage::kAtOnce,
     "采集指纹模板超时", "not all three presses came in time",
     "the time-out covers all three presses together",
     "press once for each beep, or allow more time with --timeout"},
    {kDeviceCalls, FG_ERR_PORT, "FG_ERR_PORT", Stage::kAtOnce, "打开串口失败",
     "the port could not be opened as a terminal",
     "no such device, no right to open it, or not a serial port",
     "check the cable, the name and the rights: ls -l /dev/<port>"},
    {kExchanges, FG_DEV_TOO_LONG, "FG_DEV_TOO_LONG", Stage::kTalking, "",
     "the reader's reply is too long",
     "noise on the line, another device on the port, or a record that does "
     "not fit a feature text",
     "try again; if it stays, check that the port is the reader's"},
    {kCheckPressed, FG_ERR_NO_FINGER, "FG_ERR_NO_FINGER", Stage::kTalking, "",
     "no finger lies on the sensor, or the probe failed",
     "the call gives one answer for both",
     "if a finger is there, see whether the reader answers: mvfp version"},
    {kExchanges, FG_DEV_BAD_CRC, "FG_DEV_BAD_CRC", Stage::kTalking, "",
     "the checksum of the reader's reply is wrong", "noise on the line",
     "try again; if it stays, check the cable and its shield"},
    {kFpMatch, FG_ERR_NO_MATCH, "FG_ERR_NO_MATCH", Stage::kAtOnce, "",
     "the records do not match, or one is malformed",
     "the call gives one answer for both",
     "see whether a record is malformed: mvfp inspect RECORD"},
    {kDeviceCalls, FG_ERR_SELECTOR, "FG_ERR_SELECTOR", Stage::kTalking,
     "下发BP盒指令失败", "the switch box did not take the selector",
     "a selector other than A, B, C or K, or a port that takes no data",
     "check --box, or leave it out when there is no switch box"},
    {kGetFeature, FG_ERR_SELECTOR, "FG_ERR_SELECTOR", Stage::kTalking,
     "设备串口波特率失败", "the reader did not take its link speed",
     "the reader is off, not on this port, or behind a switch box",
     "check power and cable; see whether it answers: mvfp version"},
    {kExchanges, FG_DEV_WRITE, "FG_DEV_WRITE", Stage::kTalking, "",
     "the request could not be written to the port",
     "the adapter was unplugged, or its output is blocked",
     "plug the adapter in again and try again"},
    {kExchanges, FG_DEV_READ, "FG_DEV_READ", Stage::kTalking, "",
     "the reader did not answer, or its reply broke off",
     "the reader is off, not on this port, or behind a switch box",
     "check power and cable; name the switch box's branch with --box"},
    {kDeviceCalls, FG_ERR_BUSY, "FG_ERR_BUSY", Stage::kAtOnce, "",
     "another call holds the reader",
     "one call at a time runs on the whole machine; or the lock file "
     "/tmp/cx_nrbk_drv_file_mutex.lock cannot be opened",
     "try again when the other call has ended; to find it: "
     "fuser -v /tmp/cx_nrbk_drv_file_mutex.lock"},
    {kExchanges, FG_DEV_BAD_HEADER, "FG_DEV_BAD_HEADER", Stage::kTalking, "",
     "the reader refused, or the reply was not to this request",
     "a status from the reader, noise, or another device on the port",
     "try again; the reason is in the day's log: mvfp log on"},
    {kTipsGetTemplate, FG_ERR_CANCELLED, "FG_ERR_CANCELLED", Stage::kTalking,
     "取消采集指纹模板", "the user closed the prompt window",
     "the enrolment was given up", "start it again"},
    {kEnrolments | kFpMatch, FG_ERR_NO_LIBRARY, "FG_ERR_NO_LIBRARY",
     Stage::kAtOnce, "", "the algorithm library cannot be loaded",
     "dual-feature records need a library that is not part of the driver",
     "put libAlgoOrva64.so beside libmv_fpi.so; if it is there, the reason is "
     "in the day's log: mvfp log on"},
    {kGetTemplate, FG_ERR_SYNTHESIS, "FG_ERR_SYNTHESIS", Stage::kTalking,
     "合成指纹模板失败", "the three presses do not agree",
     "different fingers, or presses too light or too far off centre",
     "enrol again, with the same finger in the same place each time"},
    {kTipsGetTemplate, FG_ERR_GUIDED_SYNTHESIS, "FG_ERR_GUIDED_SYNTHESIS",
     Stage::kTalking, "合成指纹模板失败", "the three presses do not agree",
     "different fingers, or presses too light or too far off centre",
     "enrol again, with the same finger in the same place each time"},
    {kCommCall, -99, "-99", Stage::kAtOnce, "",
     "the request is no JSON object with a \"FunctionCode\"",
     "a malformed request",
     R"(send {"FunctionCode": "0001", "RequestPort": "<n>"})"},
    {kExchanges, FG_DEV_NO_MEMORY, "FG_DEV_NO_MEMORY", Stage::kTalking, "",
     "there is no memory for the reader's reply",
     "the machine is out of memory", "free some memory and try again"},
};

using Meanings = std::vector<const CodeMeaning*>;

// Keeps those that fit, unless none does.
template <typename Fits>
void Prefer(Meanings* meanings, Fits fits) {
  Meanings fitting;
  std::copy_if(meanings->begin(), meanings->end(), std::back_inserter(fitting),
               [&](const CodeMeaning* m) { return fits(*m); });
  if (!fitting.empty()) *meanings = fitting;
}

}  // namespace

const char* NameOf(Call call) {
  const auto found =
      std::find_if(std::begin(kCallNames), std::end(kCallNames),
                   [&](const CallName& entry) { return entry.call == call; });
  return found == std::end(kCallNames) ? "" : found->name;
}

std::vector<Call> CallsOf(unsigned calls) {
  std::vector<Call> members;
  for (const CallName& entry : kCallNames) {
    if ((calls & entry.call) != 0) members.push_back(entry.call);
  }
  return members;
}

std::optional<Call> FindCall(const std::string& name) {
  for (const CallName& entry : kCallNames) {
    const char* const bare = strchr(entry.name, '_') + 1;
    if (strcasecmp(name.c_str(), entry.name) == 0 ||
        strcasecmp(name.c_str(), bare) == 0) {
      return entry.call;
    }
  }
  return std::nullopt;
}

Meanings AllMeanings() {
  Meanings all;
  for (const CodeMeaning& row : kMeanings) all.push_back(&row);
  std::stable_sort(all.begin(), all.end(),
                   [](const CodeMeaning* a, const CodeMeaning* b) {
                     return a->code > b->code;
                   });
  return all;
}

Meanings MeaningsOf(Call call, int code) {
  Meanings found;
  for (const CodeMeaning& row : kMeanings) {
    if ((row.calls & call) != 0 && row.code == code) found.push_back(&row);
  }
  return found;
}

Meanings MeaningsOf(Call call, int code, const std::string& message,
                    long elapsed_ms) {
  Meanings found = MeaningsOf(call, code);
  // A cause that has a text of its own would have said it.
  const bool has_message = (call & kCaptures) != 0;
  Prefer(&found, [&](const CodeMeaning& m) {
    return !has_message || *m.status == '\0';
  });
  for (const CodeMeaning* m : MeaningsOf(call, code)) {
    if (!message.empty() && message == m->status) found = {m};
  }
  const auto comes_at_once = [](const CodeMeaning* m) {
    return m->stage == Stage::kAtOnce;
  };
  if (elapsed_ms < kFirstPauseMs) {
    Prefer(&found, [&](const CodeMeaning& m) { return comes_at_once(&m); });
  } else {
    // A busy machine may be late with any answer, so this is but likelier.
    std::stable_partition(found.begin(), found.end(),
                          std::not_fn(comes_at_once));
  }
  return found;
}

}  // namespace corvex::mvfp
