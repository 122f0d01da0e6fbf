/* A value of a database, read as a record. Results below 0 are mv_match.h's
 * MV_ERR_*.
 *
 * Deliberate: no copy is overwritten afterwards. The database has the same
 * records in its own memory, which nobody overwrites. */
#ifndef SQL_COMMON_RECORD_VALUE_H_
#define SQL_COMMON_RECORD_VALUE_H_

#include <mv_match.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

typedef struct {
  const void* data; /* not null, even when empty */
  size_t length;
  bool is_text; /* Base64; else the record's bytes */
} RecordValue;

/* The record's bytes, as many as its count of minutiae needs, into
 * MV_RECORD_BYTES. Their number; `problem` as of mv_check_record, or null. */
int RecordBytes(RecordValue value, uint8_t* record, char* problem);

/* The record's text with a NUL, into MV_RECORD_TEXT_BYTES. Its length. */
int RecordText(RecordValue value, char* text);

/* How many minutiae it has. */
int RecordMinutiae(RecordValue value);

/* 0 to 100, as of mv_compare. */
int RecordScore(RecordValue probe, RecordValue record);

#endif /* SQL_COMMON_RECORD_VALUE_H_ */
