#include "mv_base/record_kind.h"

int32_t cx_chkmut(const uint8_t* record) {
  constexpr uint8_t kFormatTag = 0x12;
  if (record == nullptr) return kKindBadArgument;
  if (record[0] != kFormatTag) return kKindPlain;
  if (record[1] == 0x88) return kKindDual88;
  if (record[1] >= 0x80 && record[1] <= 0x83) return kKindDual80;
  return kKindPlain;
}
