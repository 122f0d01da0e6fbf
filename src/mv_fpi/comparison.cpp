// FG_FpMatch: no device, no lock, no log.
#include <cstring>

#include "MvMatch/MvMatch.h"
#include "mv_base/base64.h"
#include "mv_base/record_kind.h"
#include "mv_base/wipe.h"
#include "mv_fpi.h"
#include "mv_fpi/thresholds.h"
#include "mv_loadso/algorithm_library.h"

namespace {

constexpr size_t kMinTextLength = 5;
constexpr size_t kMaxTextLength = 1023;

struct Record {
  uint8_t bytes[1024] = {};
};

// Every text of a plausible record begins with "E", the first six bits of the
// format tag.
bool Decode(const char* text, Record* record) {
  if (*text != 'E') return false;
  const size_t length = strnlen(text, kMaxTextLength + 1);
  if (length < kMinTextLength || length > kMaxTextLength) return false;
  CodeB64(kDecode, record->bytes, text, static_cast<int32_t>(length));
  return true;
}

int32_t Decide(int32_t score, const int32_t* thresholds, int32_t level) {
  if (level == FG_LEVEL_SCORE) return score;
  return score > thresholds[level] ? FG_OK : FG_ERR_NO_MATCH;
}

int32_t CompareInLibrary(const Record& first, const Record& second,
                         int32_t level) {
  if (corvex::ReadyAlgorithmLibrary() < 0) return FG_ERR_NO_LIBRARY;
  // Deliberate: the library takes the records the other way round.
  const int32_t score = MvViewMatch(second.bytes, first.bytes, 0, 0);
  return Decide(score, corvex::kLibraryMatchThresholds, level);
}

int32_t Compare(const Record& first, const Record& second, int32_t level) {
  const int32_t score = MivoMatchFinger(first.bytes, second.bytes);
  return score < 0 ? FG_ERR_NO_MATCH
                   : Decide(score, corvex::kMatchThresholds, level);
}

}  // namespace

int FG_FpMatch(const char* first, const char* second, int level) {
  if (first == nullptr || second == nullptr || level < FG_LEVEL_SCORE ||
      level > FG_LEVEL_HIGHEST) {
    return FG_ERR_ARGUMENT;
  }
  Record a;
  Record b;
  const corvex::WipeAtEnd wipe_a(&a);
  const corvex::WipeAtEnd wipe_b(&b);
  if (!Decode(first, &a) || !Decode(second, &b)) return FG_ERR_NO_MATCH;
  const bool dual = cx_chkmut(a.bytes) > 0 || cx_chkmut(b.bytes) > 0;
  return dual ? CompareInLibrary(a, b, level) : Compare(a, b, level);
}
