#include "mv_gallery/record_check.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "mv_base/base64.h"
#include "mv_base/record_kind.h"
#include "mv_base/wipe.h"
#include "mv_match.h"

namespace corvex {
namespace {

static_assert(MV_RECORD_BYTES == kMaxRecordBytes);
static_assert(MV_RECORD_TEXT_BYTES == Base64Length(kMaxRecordBytes) + 1);

// Characters that give at least MV_RECORD_BYTES bytes, in whole groups.
constexpr size_t kTextLength = MV_RECORD_TEXT_BYTES - 1;

__attribute__((format(printf, 3, 4))) int32_t Refuse(int32_t code,
                                                     char* problem,
                                                     const char* format, ...) {
  if (problem != nullptr) {
    va_list args;
    va_start(args, format);
    vsnprintf(problem, MV_PROBLEM_BYTES, format, args);
    va_end(args);
  }
  return code;
}

// A record of one minutia is refused for that minutia alone.
bool IsGood(const uint8_t* minutia) {
  uint8_t one[kRecordHeadBytes + kMinutiaBytes] = {kFormatTag, 0, 1};
  std::memcpy(one + kRecordHeadBytes, minutia, kMinutiaBytes);
  return RecordLength(one) > 0;
}

int32_t NameBadMinutia(const uint8_t* record, char* problem) {
  int32_t at = kRecordHeadBytes;
  while (IsGood(record + at)) at += kMinutiaBytes;
  const int32_t word = record[at + 2] | record[at + 3] << 8;
  return Refuse(MV_ERR_MALFORMED, problem,
                "minutia %d at byte %d: direction %d of at most %d, weight %d "
                "of at most %d, auxiliary value %d of at most %d",
                (at - kRecordHeadBytes) / kMinutiaBytes, at, word & 0x1FF,
                kMaxDirectionDegrees, word >> 9, kMaxWeight,
                record[at + 4] & 0x7F, kMaxAuxiliary);
}

int32_t JudgeHead(const uint8_t* record, size_t bytes, char* problem) {
  if (bytes < kRecordHeadBytes) {
    return Refuse(MV_ERR_ENDS_EARLY, problem,
                  "ends after %zu bytes, within its head of %d", bytes,
                  kRecordHeadBytes);
  }
  if (cx_chkmut(record) > 0) {
    return Refuse(MV_ERR_DUAL_FEATURE, problem,
                  "a dual-feature record (byte 1 is 0x%02X), which only the "
                  "algorithm library compares",
                  record[1]);
  }
  if (record[0] != kFormatTag) {
    return Refuse(MV_ERR_MALFORMED, problem,
                  "byte 0 is 0x%02X instead of the format tag 0x%02X",
                  record[0], kFormatTag);
  }
  const int32_t count = record[2];
  if (count > kMaxMinutiae) {
    return Refuse(MV_ERR_MALFORMED, problem,
                  "byte 2 announces %d minutiae of at most %d", count,
                  kMaxMinutiae);
  }
  const int32_t length = kRecordHeadBytes + count * kMinutiaBytes;
  if (bytes < static_cast<size_t>(length)) {
    return Refuse(MV_ERR_ENDS_EARLY, problem,
                  "ends after %zu bytes; its %d minutiae take %d", bytes, count,
                  length);
  }
  return length;
}

}  // namespace

int32_t ReadRecord(const void* record, size_t bytes, WorkingForm* working,
                   char* problem) {
  if (problem != nullptr) *problem = '\0';
  if (record == nullptr) {
    return Refuse(MV_ERR_ARGUMENT, problem, "there is no record");
  }
  const auto* const data = static_cast<const uint8_t*>(record);
  const int32_t length = JudgeHead(data, bytes, problem);
  if (length < 0) return length;
  return ConvertTransferFormat(working, data) == length
             ? length
             : NameBadMinutia(data, problem);
}

int32_t DecodeRecord(const char* text, size_t length, uint8_t* record,
                     char* problem) {
  if (text == nullptr) {
    return Refuse(MV_ERR_ARGUMENT, problem, "there is no text");
  }
  uint8_t decoded[kTextLength / 4 * 3];
  WorkingForm working;
  const WipeAtEnd wipe_decoded(&decoded);
  const WipeAtEnd wipe_working(&working);
  const int32_t bytes = DecodeB64(
      decoded, text, static_cast<int32_t>(std::min(length, kTextLength)));
  const int32_t result =
      ReadRecord(decoded, static_cast<size_t>(bytes), &working, problem);
  if (result > 0) std::memcpy(record, decoded, static_cast<size_t>(result));
  return result;
}

}  // namespace corvex
