// Which algorithm a binary record is for, told from its first two bytes.
#ifndef SRC_MV_BASE_RECORD_KIND_H_
#define SRC_MV_BASE_RECORD_KIND_H_

#include <cstdint>

enum RecordKind : int32_t {
  kKindBadArgument = -3,  // null pointer
  kKindPlain = -1,        // for the built-in matcher, if for any
  kKindDual88 = 2,        // dual-feature, header 0x88
  kKindDual80 = 3,        // dual-feature, header 0x80 to 0x83
};

// A positive result marks a dual-feature record, for the algorithm library.
int32_t cx_chkmut(const uint8_t* record);

#endif  // SRC_MV_BASE_RECORD_KIND_H_
