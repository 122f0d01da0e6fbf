#include "MvMatch/minutiae_record.h"

#include "mv_base/wipe.h"

namespace {

using corvex::Minutia;

constexpr uint8_t kSecondKind = 0x80;

// False when a field is out of its range.
bool ReadMinutia(Minutia* out, const uint8_t* bytes) {
  const int32_t word = bytes[2] | bytes[3] << 8;
  const int32_t direction = word & 0x1FF;
  const int32_t weight = word >> 9;
  const int32_t auxiliary = bytes[4] & ~kSecondKind;
  *out = {bytes[0],
          bytes[1],
          static_cast<int16_t>(direction),
          static_cast<uint8_t>(weight),
          static_cast<uint8_t>((bytes[4] & kSecondKind) != 0 ? 2 : 1),
          static_cast<uint8_t>(auxiliary),
          0};
  return direction <= corvex::kMaxDirectionDegrees &&
         weight <= corvex::kMaxWeight && auxiliary <= corvex::kMaxAuxiliary;
}

}  // namespace

int32_t ConvertTransferFormat(corvex::WorkingForm* working,
                              const uint8_t* record) {
  *working = {};
  if (record[0] != corvex::kFormatTag) return 0;
  working->format_tag = record[0];
  working->record_class = record[1];
  const int32_t count = record[2];
  if (count > corvex::kMaxMinutiae) return 0;
  working->count = record[2];
  working->minutiae.count = record[2];
  const uint8_t* bytes = record + corvex::kRecordHeadBytes;
  for (int32_t i = 0; i < count; ++i, bytes += corvex::kMinutiaBytes) {
    if (!ReadMinutia(&working->minutiae.entry[i], bytes)) return 0;
  }
  return corvex::kRecordHeadBytes + corvex::kMinutiaBytes * count;
}

namespace corvex {

int32_t RecordLength(const uint8_t* record) {
  if (record == nullptr) return kBadRecord;
  WorkingForm scratch;
  const WipeAtEnd wipe(&scratch);
  const int32_t length = ConvertTransferFormat(&scratch, record);
  return length < kRecordHeadBytes ? kBadRecord : length;
}

}  // namespace corvex
