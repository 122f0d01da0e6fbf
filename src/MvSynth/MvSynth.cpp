#include "MvSynth/MvSynth.h"

#include <algorithm>
#include <cstring>

#include "MvMatch/minutiae_record.h"
#include "MvMatch/thread_matchers.h"
#include "mv_base/wipe.h"

namespace {

using corvex::WorkingForm;

struct Captures {
  int32_t count;
  WorkingForm working[corvex::kMaxCaptures];
  int32_t length[corvex::kMaxCaptures];
};

struct Agreement {
  int32_t lowest_score = corvex::kMaxScore;
  int32_t best_first = 0;
  int32_t best_second = 0;
};

const uint8_t* Slot(const uint8_t* captures, int32_t index) {
  return captures + index * corvex::kCaptureSlotBytes;
}

bool Convert(Captures* out, const uint8_t* captures, int32_t count) {
  out->count = count;
  for (int32_t i = 0; i < count; ++i) {
    out->length[i] = ConvertTransferFormat(&out->working[i], Slot(captures, i));
    if (out->length[i] == 0) return false;
  }
  return true;
}

Agreement CompareAll(const Captures& captures) {
  Agreement result;
  int32_t best_score = 0;
  for (int32_t a = 0; a < captures.count - 1; ++a) {
    for (int32_t b = a + 1; b < captures.count; ++b) {
      const int32_t score = corvex::CompareInThread(
          corvex::kEnrolmentMatcher, captures.working[a], captures.working[b]);
      result.lowest_score = std::min(result.lowest_score, score);
      if (score <= best_score) continue;  // the earliest pair wins ties
      best_score = score;
      result.best_first = a;
      result.best_second = b;
    }
  }
  return result;
}

}  // namespace

int32_t MivoSynthMinut(const uint8_t* captures, int32_t count,
                       uint8_t* template_out, uint8_t* index_out,
                       uint16_t* length_out) {
  if (count < 1 || count > corvex::kMaxCaptures || captures == nullptr) {
    return corvex::kBadRecord;
  }
  Captures converted;
  const corvex::WipeAtEnd wipe(&converted);
  if (!Convert(&converted, captures, count)) return corvex::kBadRecord;
  const Agreement agreement = CompareAll(converted);
  const int32_t a = agreement.best_first;
  const int32_t b = agreement.best_second;
  const int32_t chosen =
      converted.working[b].count > converted.working[a].count ? b : a;
  const int32_t length = converted.length[chosen];
  if (template_out != nullptr) {
    std::memcpy(template_out, Slot(captures, chosen),
                static_cast<size_t>(length));
  }
  if (index_out != nullptr) *index_out = static_cast<uint8_t>(chosen);
  if (length_out != nullptr) *length_out = static_cast<uint16_t>(length);
  return agreement.lowest_score;
}

int32_t GetOrvaMinutLen(const uint8_t* record) {
  return corvex::RecordLength(record);
}
