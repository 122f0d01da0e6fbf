/* Functions on fingerprint records for SQLite:
 *
 *   .load mod_mv_fpi
 *   select id from fingers where mv_match(?1, record) > 36;
 */
#include <sqlite3ext.h>
#include <stdlib.h>

#include "common/record_value.h"

SQLITE_EXTENSION_INIT1

static const char kNumber[] = "a number, neither text nor bytes";

/* False when the value can be no record: then the result is null, or an error
 * when memory is out. */
static bool ReadValue(sqlite3_context* context, sqlite3_value* argument,
                      RecordValue* value) {
  const int type = sqlite3_value_type(argument);
  if (type != SQLITE_TEXT && type != SQLITE_BLOB) return false;
  value->is_text = type == SQLITE_TEXT;
  value->data = value->is_text ? sqlite3_value_text(argument)
                               : sqlite3_value_blob(argument);
  value->length = (size_t)sqlite3_value_bytes(argument);
  if (value->data != NULL) return true;
  value->data = "";
  if (value->length == 0 && !value->is_text) return true;
  sqlite3_result_error_nomem(context);
  return false;
}

/* The score, or less than 0 when there is none. */
static int ReadScore(sqlite3_context* context, sqlite3_value** arguments) {
  RecordValue probe;
  RecordValue record;
  if (!ReadValue(context, arguments[0], &probe) ||
      !ReadValue(context, arguments[1], &record)) {
    return MV_ERR_ARGUMENT;
  }
  return RecordScore(probe, record);
}

static void Match(sqlite3_context* context, int count,
                  sqlite3_value** arguments) {
  (void)count;
  const int score = ReadScore(context, arguments);
  if (score >= 0) sqlite3_result_int(context, score);
}

/* Names the level that there is not; a fraction, a word or bytes as well. */
static void RefuseLevel(sqlite3_context* context, sqlite3_value* level) {
  char* const text = sqlite3_mprintf(
      "mv_matches: there is no level %Q; levels are %d to %d",
      sqlite3_value_text(level), MV_LEVEL_LOWEST, MV_LEVEL_HIGHEST);
  if (text == NULL) {
    sqlite3_result_error_nomem(context);
    return;
  }
  sqlite3_result_error(context, text, -1);
  sqlite3_free(text);
}

static void Matches(sqlite3_context* context, int count,
                    sqlite3_value** arguments) {
  (void)count;
  sqlite3_value* const level = arguments[2];
  if (sqlite3_value_type(level) == SQLITE_NULL) return;
  const sqlite3_int64 number =
      sqlite3_value_numeric_type(level) == SQLITE_INTEGER
          ? sqlite3_value_int64(level)
          : 0;
  if (number < MV_LEVEL_LOWEST || number > MV_LEVEL_HIGHEST) {
    RefuseLevel(context, level);
    return;
  }
  const int score = ReadScore(context, arguments);
  if (score >= 0) {
    sqlite3_result_int(context, score > mv_threshold((int)number));
  }
}

static void IsRecord(sqlite3_context* context, int count,
                     sqlite3_value** arguments) {
  (void)count;
  RecordValue value;
  if (sqlite3_value_type(arguments[0]) == SQLITE_NULL) return;
  /* The answer about a number; an error of ReadValue replaces it. */
  sqlite3_result_int(context, 0);
  if (ReadValue(context, arguments[0], &value)) {
    sqlite3_result_int(context, RecordMinutiae(value) >= 0);
  }
}

static void RecordProblem(sqlite3_context* context, int count,
                          sqlite3_value** arguments) {
  (void)count;
  RecordValue value;
  if (sqlite3_value_type(arguments[0]) == SQLITE_NULL) return;
  sqlite3_result_text(context, kNumber, -1, SQLITE_STATIC);
  if (!ReadValue(context, arguments[0], &value)) return;
  uint8_t record[MV_RECORD_BYTES];
  char problem[MV_PROBLEM_BYTES];
  if (RecordBytes(value, record, problem) < 0) {
    sqlite3_result_text(context, problem, -1, SQLITE_TRANSIENT);
  } else {
    sqlite3_result_null(context);
  }
}

static void Minutiae(sqlite3_context* context, int count,
                     sqlite3_value** arguments) {
  (void)count;
  RecordValue value;
  if (!ReadValue(context, arguments[0], &value)) return;
  const int minutiae = RecordMinutiae(value);
  if (minutiae >= 0) sqlite3_result_int(context, minutiae);
}

static void ToBytes(sqlite3_context* context, int count,
                    sqlite3_value** arguments) {
  (void)count;
  RecordValue value;
  if (!ReadValue(context, arguments[0], &value)) return;
  uint8_t record[MV_RECORD_BYTES];
  const int length = RecordBytes(value, record, NULL);
  if (length >= 0) {
    sqlite3_result_blob(context, record, length, SQLITE_TRANSIENT);
  }
}

static void ToText(sqlite3_context* context, int count,
                   sqlite3_value** arguments) {
  (void)count;
  RecordValue value;
  if (!ReadValue(context, arguments[0], &value)) return;
  char text[MV_RECORD_TEXT_BYTES];
  const int length = RecordText(value, text);
  if (length >= 0) {
    sqlite3_result_text(context, text, length, SQLITE_TRANSIENT);
  }
}

static const struct {
  const char* name;
  int arguments;
  void (*call)(sqlite3_context*, int, sqlite3_value**);
} kFunctions[] = {
    {"mv_match", 2, Match},        {"mv_matches", 3, Matches},
    {"mv_is_record", 1, IsRecord}, {"mv_record_problem", 1, RecordProblem},
    {"mv_minutiae", 1, Minutiae},  {"mv_record", 1, ToBytes},
    {"mv_record_text", 1, ToText},
};

/* SQLite makes this name of the file's. */
MV_API int sqlite3_modmvfpi_init(sqlite3* db, char** problem,
                                 const sqlite3_api_routines* api);
int sqlite3_modmvfpi_init(sqlite3* db, char** problem,
                          const sqlite3_api_routines* api) {
  (void)problem;
  SQLITE_EXTENSION_INIT2(api)
  int code = SQLITE_OK;
  for (size_t i = 0;
       code == SQLITE_OK && i < sizeof kFunctions / sizeof *kFunctions; ++i) {
    code = sqlite3_create_function_v2(
        db, kFunctions[i].name, kFunctions[i].arguments,
        SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS, NULL,
        kFunctions[i].call, NULL, NULL, NULL);
  }
  return code;
}
