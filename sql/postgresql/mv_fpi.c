/* Functions on fingerprint records for PostgreSQL. All are strict: none sees a
 * null. */
#include <postgres.h>

/* After postgres.h, which every file of the server begins with. */
#include <catalog/pg_type.h>
#include <fmgr.h>
#include <miscadmin.h>
#include <utils/builtins.h>
#include <utils/lsyscache.h>

#include "common/record_value.h"

PG_MODULE_MAGIC;

enum { kMostRecords = 2 };

/* Each function is declared for text and for bytes; which of them a place in a
 * query calls is looked up once. */
typedef struct {
  bool is_text[kMostRecords];
} CallPlace;

static CallPlace* LookUpPlace(const FmgrInfo* function) {
  CallPlace* const place =
      MemoryContextAllocZero(function->fn_mcxt, sizeof *place);
  Oid* types = NULL;
  int count = 0;
  get_func_signature(function->fn_oid, &types, &count);
  for (int i = 0; i < Min(count, kMostRecords); ++i) {
    place->is_text[i] = types[i] == TEXTOID;
  }
  pfree(types);
  return place;
}

static const CallPlace* FindPlace(FmgrInfo* function) {
  if (function->fn_extra == NULL) function->fn_extra = LookUpPlace(function);
  return function->fn_extra;
}

/* A copy of a value that was stored apart or compressed is the executor's to
 * free, with the row. */
static RecordValue ReadValue(FunctionCallInfo call, int argument) {
  const struct varlena* const datum =
      PG_DETOAST_DATUM_PACKED(call->args[argument].value);
  return (RecordValue){VARDATA_ANY(datum), VARSIZE_ANY_EXHDR(datum),
                       FindPlace(call->flinfo)->is_text[argument]};
}

/* The score, or less than 0 when there is none. */
static int ReadScore(FunctionCallInfo call) {
  CHECK_FOR_INTERRUPTS();
  return RecordScore(ReadValue(call, 0), ReadValue(call, 1));
}

static bytea* MakeBytes(const void* data, int length) {
  bytea* const bytes = palloc((Size)length + VARHDRSZ);
  SET_VARSIZE(bytes, length + VARHDRSZ);
  memcpy(VARDATA(bytes), data, (size_t)length);
  return bytes;
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
  PG_RETURN_BOOL(RecordMinutiae(ReadValue(fcinfo, 0)) >= 0);
}

PG_FUNCTION_INFO_V1(mv_record_problem);
Datum mv_record_problem(PG_FUNCTION_ARGS) {
  uint8_t record[MV_RECORD_BYTES];
  char problem[MV_PROBLEM_BYTES];
  if (RecordBytes(ReadValue(fcinfo, 0), record, problem) >= 0) PG_RETURN_NULL();
  PG_RETURN_TEXT_P(cstring_to_text(problem));
}

PG_FUNCTION_INFO_V1(mv_minutiae);
Datum mv_minutiae(PG_FUNCTION_ARGS) {
  const int minutiae = RecordMinutiae(ReadValue(fcinfo, 0));
  if (minutiae < 0) PG_RETURN_NULL();
  PG_RETURN_INT32(minutiae);
}

PG_FUNCTION_INFO_V1(mv_record);
Datum mv_record(PG_FUNCTION_ARGS) {
  uint8_t record[MV_RECORD_BYTES];
  const int length = RecordBytes(ReadValue(fcinfo, 0), record, NULL);
  if (length < 0) PG_RETURN_NULL();
  PG_RETURN_BYTEA_P(MakeBytes(record, length));
}

PG_FUNCTION_INFO_V1(mv_record_text);
Datum mv_record_text(PG_FUNCTION_ARGS) {
  char text[MV_RECORD_TEXT_BYTES];
  const int length = RecordText(ReadValue(fcinfo, 0), text);
  if (length < 0) PG_RETURN_NULL();
  PG_RETURN_TEXT_P(cstring_to_text_with_len(text, length));
}
