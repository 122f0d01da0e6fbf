/* Functions on fingerprint records for PostgreSQL. All are strict: none sees a
 * null. The script of the extension says which of them take a text; for the
 * others it makes bytes of it first. */
#include <postgres.h>

/* After postgres.h, which every file of the server begins with. */
#include <ctype.h>
#include <fmgr.h>
#include <miscadmin.h>
#include <utils/builtins.h>

#include "common/record_value.h"

PG_MODULE_MAGIC;

/* A copy of a value that was stored apart or compressed is the executor's to
 * free, with the row. */
static RecordValue ReadValue(Datum datum, bool is_text) {
  const struct varlena* const value = PG_DETOAST_DATUM_PACKED(datum);
  return (RecordValue){VARDATA_ANY(value), VARSIZE_ANY_EXHDR(value), is_text};
}

static RecordValue ReadBytes(Datum datum) { return ReadValue(datum, false); }

/* To the server a literal of bytes, '\x1200...', is a text unless it is cast;
 * no Base64 begins like that. As there, a wrong character ends the record. */
static RecordValue ReadText(Datum datum) {
  const RecordValue text = ReadValue(datum, true);
  if (text.length < 2 || memcmp(text.data, "\\x", 2) != 0) return text;
  const char* const digits = (const char*)text.data + 2;
  size_t count = 0;
  while (count < text.length - 2 && isxdigit((unsigned char)digits[count])) {
    ++count;
  }
  char* const bytes = palloc(count / 2 + 1);
  hex_decode(digits, count / 2 * 2, bytes);
  return (RecordValue){bytes, count / 2, false};
}

/* The score, or less than 0 when there is none. */
static int ReadScore(FunctionCallInfo call) {
  CHECK_FOR_INTERRUPTS();
  return RecordScore(ReadBytes(call->args[0].value),
                     ReadBytes(call->args[1].value));
}

PG_FUNCTION_INFO_V1(mv_match);
Datum mv_match(PG_FUNCTION_ARGS) {
  const int score = ReadScore(fcinfo);
  if (score < 0) PG_RETURN_NULL();
  PG_RETURN_INT32(score);
}

PG_FUNCTION_INFO_V1(mv_matches);
Datum mv_matches(PG_FUNCTION_ARGS) {
  const int32 level = PG_GETARG_INT32(2);
  const int threshold = mv_threshold(level);
  if (threshold < 0) {
    ereport(ERROR,
            (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
             errmsg("mv_matches: there is no level %d; levels are %d to %d",
                    level, MV_LEVEL_LOWEST, MV_LEVEL_HIGHEST)));
  }
  const int score = ReadScore(fcinfo);
  if (score < 0) PG_RETURN_NULL();
  PG_RETURN_BOOL(score > threshold);
}

PG_FUNCTION_INFO_V1(mv_is_record);
Datum mv_is_record(PG_FUNCTION_ARGS) {
  PG_RETURN_BOOL(RecordMinutiae(ReadBytes(PG_GETARG_DATUM(0))) >= 0);
}

PG_FUNCTION_INFO_V1(mv_is_record_of_text);
Datum mv_is_record_of_text(PG_FUNCTION_ARGS) {
  PG_RETURN_BOOL(RecordMinutiae(ReadText(PG_GETARG_DATUM(0))) >= 0);
}

static Datum GiveProblem(FunctionCallInfo fcinfo, RecordValue value) {
  uint8_t record[MV_RECORD_BYTES];
  char problem[MV_PROBLEM_BYTES];
  if (RecordBytes(value, record, problem) >= 0) PG_RETURN_NULL();
  PG_RETURN_TEXT_P(cstring_to_text(problem));
}

PG_FUNCTION_INFO_V1(mv_record_problem);
Datum mv_record_problem(PG_FUNCTION_ARGS) {
  return GiveProblem(fcinfo, ReadBytes(PG_GETARG_DATUM(0)));
}

PG_FUNCTION_INFO_V1(mv_record_problem_of_text);
Datum mv_record_problem_of_text(PG_FUNCTION_ARGS) {
  return GiveProblem(fcinfo, ReadText(PG_GETARG_DATUM(0)));
}

static Datum GiveBytes(FunctionCallInfo fcinfo, RecordValue value) {
  uint8_t record[MV_RECORD_BYTES];
  const int length = RecordBytes(value, record, NULL);
  if (length < 0) PG_RETURN_NULL();
  /* Text and bytes are laid out alike. */
  PG_RETURN_BYTEA_P(cstring_to_text_with_len((const char*)record, length));
}

PG_FUNCTION_INFO_V1(mv_record);
Datum mv_record(PG_FUNCTION_ARGS) {
  return GiveBytes(fcinfo, ReadBytes(PG_GETARG_DATUM(0)));
}

PG_FUNCTION_INFO_V1(mv_record_of_text);
Datum mv_record_of_text(PG_FUNCTION_ARGS) {
  return GiveBytes(fcinfo, ReadText(PG_GETARG_DATUM(0)));
}

PG_FUNCTION_INFO_V1(mv_minutiae);
Datum mv_minutiae(PG_FUNCTION_ARGS) {
  const int minutiae = RecordMinutiae(ReadBytes(PG_GETARG_DATUM(0)));
  if (minutiae < 0) PG_RETURN_NULL();
  PG_RETURN_INT32(minutiae);
}

PG_FUNCTION_INFO_V1(mv_record_text);
Datum mv_record_text(PG_FUNCTION_ARGS) {
  char text[MV_RECORD_TEXT_BYTES];
  const int length = RecordText(ReadBytes(PG_GETARG_DATUM(0)), text);
  if (length < 0) PG_RETURN_NULL();
  PG_RETURN_TEXT_P(cstring_to_text_with_len(text, length));
}
