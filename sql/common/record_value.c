#include "common/record_value.h"

#include <string.h>

enum { kHeadBytes = 3, kMinutiaBytes = 5 };

/* What follows the record is not part of it. */
static int CopyRecord(RecordValue value, uint8_t* record, char* problem) {
  const int code = mv_check_record(value.data, value.length, problem);
  if (code < 0) return code;
  const uint8_t* const bytes = value.data;
  const int length = kHeadBytes + kMinutiaBytes * bytes[2];
  memcpy(record, bytes, (size_t)length);
  return length;
}

int RecordBytes(RecordValue value, uint8_t* record, char* problem) {
  return value.is_text
             ? mv_record_from_text(value.data, value.length, record, problem)
             : CopyRecord(value, record, problem);
}

int RecordText(RecordValue value, char* text) {
  uint8_t record[MV_RECORD_BYTES];
  const int length = RecordBytes(value, record, NULL);
  return length < 0 ? length
                    : mv_record_to_text(record, (size_t)length, text,
                                        MV_RECORD_TEXT_BYTES);
}

int RecordMinutiae(RecordValue value) {
  uint8_t record[MV_RECORD_BYTES];
  const int length = RecordBytes(value, record, NULL);
  return length < 0 ? length : record[2];
}

/* The bytes of a text go into `decoded`; bytes stay where they are, and what is
 * wrong with them is found when they are compared. */
static int FindBytes(RecordValue* value, uint8_t* decoded) {
  if (!value->is_text) return MV_OK;
  const int length = RecordBytes(*value, decoded, NULL);
  if (length < 0) return length;
  *value = (RecordValue){decoded, (size_t)length, false};
  return MV_OK;
}

int RecordScore(RecordValue probe, RecordValue record) {
  uint8_t decoded[2][MV_RECORD_BYTES];
  int code = FindBytes(&probe, decoded[0]);
  if (code == MV_OK) code = FindBytes(&record, decoded[1]);
  return code < 0
             ? code
             : mv_compare(probe.data, probe.length, record.data, record.length);
}
