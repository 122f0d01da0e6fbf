// FG_GetTemplate and FG_TipsGetTemplate: three presses within one time-out,
// merged into a template. One procedure; the calls differ by a row of data.
#include <cstring>
#include <functional>

#include "MvMatch/MvMatch.h"
#include "MvSynth/MvSynth.h"
#include "mv_base/base64.h"
#include "mv_base/clock.h"
#include "mv_base/diagnostic_log.h"
#include "mv_base/record_kind.h"
#include "mv_base/wipe.h"
#include "mv_cmd/commands.h"
#include "mv_cmd/frame.h"
#include "mv_fpi/call_frame.h"
#include "mv_fpi/deadline.h"
#include "mv_fpi/prompt_window.h"
#include "mv_fpi/thresholds.h"
#include "mv_loadso/algorithm_library.h"

namespace corvex {
namespace {

constexpr int32_t kPresses = 3;
constexpr int32_t kSlotBytes = kMaxReplyBytes;
constexpr int32_t kSynthesisSlotBytes = 512;
constexpr int32_t kTemplateBytes = kMaxReplyBytes;
static_assert(Base64Length(kTemplateBytes) + 1 == FG_TEMPLATE_BYTES);

// How one enrolment call differs from the other.
struct Variant {
  CallTraits call;
  bool guided = false;
  uint32_t beep_pause_ms = kBeepMs;
  int32_t synthesis_failed = FG_ERR_SYNTHESIS;
  bool logs_missing_library = true;
};

constexpr Variant MakeVariant(const char* name) {
  Variant variant = {{name}};
  // Every capture begins with a pause of its own.
  variant.call.settles = false;
  return variant;
}

constexpr Variant kPlain = MakeVariant("FG_GetTemplate");
constexpr Variant kGuided = [] {
  Variant variant = MakeVariant("FG_TipsGetTemplate");
  variant.guided = true;
  variant.beep_pause_ms = 500;
  variant.synthesis_failed = FG_ERR_GUIDED_SYNTHESIS;
  variant.logs_missing_library = false;
  return variant;
}();

// The caller's buffers.
struct Output {
  char* tmpl;
  int* tmpl_len;
  char* message;
};

struct Captures {
  uint8_t slots[kPresses][kSlotBytes] = {};
};

struct Template {
  uint8_t bytes[kTemplateBytes] = {};
  int32_t length = 0;
  int32_t best_index = 0;
  int32_t score = -1;
};

class Enrolment {
 public:
  Enrolment(const Variant& variant, int32_t port, const Deadline& deadline,
            const Output& out)
      : variant_(variant), port_(port), deadline_(deadline), out_(out) {}

  int32_t Run(int32_t timeout_s) {
    if (variant_.guided) window_.Open(Name(), timeout_s);
    for (int32_t press = 0; press < kPresses; ++press) {
      const int32_t result = Capture(press);
      if (result < 0) return result;
    }
    const int32_t result =
        HasDualFeature() ? SynthesiseInLibrary() : Synthesise();
    return result < 0 ? result : Deliver();
  }

 private:
  const char* Name() const { return variant_.call.name; }

  int32_t Capture(int32_t press) {
    int32_t result = WaitForFinger(press);
    if (result < 0) return result;
    MvSleep(kCaptureMs);
    result = corvex_get_feature(port_, captures_.slots[press], /*encode=*/0);
    if (result < 0) {
      MV_LOG("%s 采集指纹模板失败[%d]\n", Name(), result);
      SetMessage(out_.message, "采集指纹模板失败");
      return result;
    }
    MvSleep(variant_.beep_pause_ms);
    corvex_set_beep(port_, 0);
    return FG_OK;
  }

  int32_t WaitForFinger(int32_t press) {
    int32_t probe = kDevNoFinger;
    while (probe == kDevNoFinger) {
      if (deadline_.Passed()) {
        SetMessage(out_.message, "采集指纹模板超时");
        MV_LOG("%s 采集指纹模板超时[%d]\n", Name(), FG_ERR_TIMEOUT);
        return FG_ERR_TIMEOUT;
      }
      const int32_t cancelled = window_.AskForPress(press);
      if (cancelled < 0) {
        MV_LOG("%s 取消操作[%d]\n", Name(), cancelled);
        SetMessage(out_.message, "取消采集指纹模板");
        return FG_ERR_CANCELLED;
      }
      MvSleep(kProbeMs);
      probe = corvex_get_check(port_);
    }
    return probe < 0 ? probe : FG_OK;
  }

  // One dual-feature press sends all three to the algorithm library.
  bool HasDualFeature() const {
    constexpr const char* kFound[kPresses] = {
        "第一枚特征双特征", "第二枚特征双特征", "第三枚特征双特征"};
    for (int32_t i = 0; i < kPresses; ++i) {
      if (cx_chkmut(captures_.slots[i]) <= 0) continue;
      MV_LOG("%s %s\n", Name(), kFound[i]);
      return true;
    }
    MV_LOG("%s 非双特征\n", Name());
    return false;
  }

  int32_t Synthesise() {
    uint8_t input[kPresses][kSynthesisSlotBytes];
    const WipeAtEnd wipe(&input);
    for (int32_t i = 0; i < kPresses; ++i) {
      std::memcpy(input[i], captures_.slots[i], kSynthesisSlotBytes);
    }
    uint16_t length = 0;
    template_.score =
        MivoSynthMinut(input[0], kPresses, template_.bytes, nullptr, &length);
    template_.length = length;
    if (template_.score > kSynthesisThreshold) return FG_OK;
    // Deliberate: here and below, the first number tells the two ways of
    // merging apart in the log. It is no threshold.
    MV_LOG("%s 合成指纹模板失败[36][%d]\n", Name(), template_.score);
    return FailSynthesis();
  }

  int32_t SynthesiseInLibrary() {
    if (ReadyAlgorithmLibrary() < 0) {
      if (variant_.logs_missing_library) {
        MV_LOG("%s 加载动态库失败[%d]\n", Name(), FG_ERR_NO_LIBRARY);
      }
      return FG_ERR_NO_LIBRARY;
    }
    template_.score = OrvSynMinut(captures_.slots[0], kPresses, kSlotBytes,
                                  template_.bytes, &template_.length,
                                  &template_.best_index, 0, g_ga_alg_handle);
    // A length that the buffer cannot have is no template.
    if (template_.score <= kLibrarySynthesisThreshold || template_.length < 0 ||
        template_.length > kTemplateBytes) {
      MV_LOG("%s 合成指纹模板失败[45][%d]\n", Name(), template_.score);
      return FailSynthesis();
    }
    // Deliberate: no host was ever given 257 to 383 bytes; a template that ends
    // there is filled up with zeros.
    if (template_.length > 256 && template_.length < 384) {
      template_.length = 384;
    }
    return FG_OK;
  }

  int32_t FailSynthesis() const {
    SetMessage(out_.message, "合成指纹模板失败");
    return variant_.synthesis_failed;
  }

  int32_t Deliver() const {
    MV_LOG("%s 最小分数[%d] idx = [%d] len = [%d]\n", Name(), template_.score,
           template_.best_index, template_.length);
    *out_.tmpl_len =
        CodeB64(kEncode, out_.tmpl, template_.bytes, template_.length);
    SetMessage(out_.message, "合成指纹模板成功");
    return FG_OK;
  }

  const Variant& variant_;
  const int32_t port_;
  const Deadline& deadline_;
  const Output out_;
  PromptWindow window_;
  Captures captures_;
  Template template_;
  const WipeAtEnd wipe_captures_{&captures_};
  const WipeAtEnd wipe_template_{&template_};
};

int32_t Enrol(const Variant& variant, const LinkArguments& link,
              int32_t timeout_s, const Output& out) {
  const Deadline deadline(timeout_s);
  const bool arguments_ok = timeout_s >= 0 && out.tmpl != nullptr &&
                            out.tmpl_len != nullptr && out.message != nullptr;
  const auto work = [&](int32_t port) {
    return Enrolment(variant, port, deadline, out).Run(timeout_s);
  };
  return RunCall(variant.call, link, out.message, arguments_ok,
                 std::cref(work));
}

}  // namespace
}  // namespace corvex

int FG_GetTemplate(const char* port, const char* bp_select, int link_speed,
                   int timeout_s, char* tmpl, int* tmpl_len, char* message) {
  return corvex::Enrol(corvex::kPlain,
                       corvex::LinkArguments{port, bp_select, link_speed},
                       timeout_s, corvex::Output{tmpl, tmpl_len, message});
}

int FG_TipsGetTemplate(const char* port, const char* bp_select, int link_speed,
                       int timeout_s, char* tmpl, int* tmpl_len,
                       char* message) {
  return corvex::Enrol(corvex::kGuided,
                       corvex::LinkArguments{port, bp_select, link_speed},
                       timeout_s, corvex::Output{tmpl, tmpl_len, message});
}
