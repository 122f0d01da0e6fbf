/* mv_match.h - compare fingerprint records, search many, without a reader.
 *
 * For servers and terminals alike: the library opens no device, writes no log,
 * keeps no file, and starts threads only while a search runs.
 *
 * Rules that all calls share:
 * - A record is the bytes of a feature or template, 3 to 253 of them; what
 *   follows the last minutia is ignored. As text it is Base64, the form in
 *   which the driver gives it (mv_fpi.h), without line breaks.
 * - 0 and more is success; a negative result is one of MV_ERR_*, and then no
 *   output was written, but for the text of a problem.
 * - Nothing keeps a pointer into the caller's memory after it has returned.
 * - Calls may be made from any number of threads at once. A gallery may be
 *   searched by any number of threads; one that changes it waits for the
 *   searches in progress, and those that come later wait for the change.
 * - Memory that held a record is overwritten before it is given back. */
#ifndef MV_MATCH_H_
#define MV_MATCH_H_

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define MV_API __attribute__((visibility("default")))

/* The longest record: 50 minutiae. */
#define MV_RECORD_BYTES 253
/* The text of the longest record, and its NUL. */
#define MV_RECORD_TEXT_BYTES 341
/* Room for every text that says what is wrong with a record, and its NUL. */
#define MV_PROBLEM_BYTES 128

#define MV_SCORE_MAX 100
#define MV_LEVEL_LOWEST 1
#define MV_LEVEL_HIGHEST 5

enum {
  MV_OK = 0,
  MV_ERR_ARGUMENT = -1,     /* a null pointer, or a number out of its range */
  MV_ERR_MALFORMED = -2,    /* a record with a field out of its range */
  MV_ERR_ENDS_EARLY = -3,   /* a record shorter than its count says */
  MV_ERR_DUAL_FEATURE = -4, /* for the site's algorithm library, not for us */
  MV_ERR_MEMORY = -5,       /* out of memory; nothing has changed */
  MV_ERR_STOPPED = -6,      /* the progress call ended the search */
  MV_ERR_NO_ROOM = -7,      /* room for no hit, or too little for a text */
  MV_ERR_EMPTY = -8,        /* there is nothing in the gallery */
  MV_ERR_NO_SUCH_ID = -9    /* no record in the gallery has this id */
};

/* What a code means, in English; never null. */
MV_API const char* mv_error_text(int code);

/* ---- One record ---------------------------------------------------------- */

/* Whether it is a record that can be compared.
 *
 * record, bytes   in   the record
 * problem         out  MV_PROBLEM_BYTES, or null; what is wrong and where, in
 *                      English ("minutia 7 at byte 33: direction 400, ...");
 *                      "" when nothing is
 *
 * MV_OK, or MV_ERR_ARGUMENT, MV_ERR_MALFORMED, MV_ERR_ENDS_EARLY,
 * MV_ERR_DUAL_FEATURE. */
MV_API int mv_check_record(const void* record, size_t bytes, char* problem);

/* A record from its text. What follows the record in the text, but not its
 * text's end, is ignored; a character outside the alphabet ends the record.
 *
 * text, length    in   Base64 characters; need not end in a NUL
 * record          out  MV_RECORD_BYTES
 * problem         out  as mv_check_record
 *
 * The record's length in bytes, 3 to 253, or a code of mv_check_record. */
MV_API int mv_record_from_text(const char* text, size_t length, void* record,
                               char* problem);

/* A record's text, with a NUL.
 *
 * record, bytes   in   the record
 * text            out  text_bytes, of which MV_RECORD_TEXT_BYTES are enough
 *
 * The length of the text without the NUL; or a code of mv_check_record, or
 * MV_ERR_NO_ROOM. */
MV_API int mv_record_to_text(const void* record, size_t bytes, char* text,
                             size_t text_bytes);

/* ---- Two records --------------------------------------------------------- */

/* The score of two records, 0 to 100: what FG_FpMatch of the driver gives at
 * level 0. Not symmetric: exchanging the records may change the score. Each
 * thread keeps its last first record prepared: comparing one with many is
 * faster with the one in front.
 *
 * A code of mv_check_record when either record cannot be compared. */
MV_API int mv_compare(const void* first, size_t first_bytes, const void* second,
                      size_t second_bytes);

/* The same of two texts, each with a NUL. */
MV_API int mv_compare_text(const char* first, const char* second);

/* The score that must be exceeded at a level from 1 to 5, or MV_ERR_ARGUMENT.
 */
MV_API int mv_threshold(int level);

/* The highest level that a score passes, 1 to 5; 0 when it passes none. */
MV_API int mv_level(int score);

/* ---- A template of several captures -------------------------------------- */

#define MV_MAX_CAPTURES 10

/* Which of several captures of one finger makes the best template: the richer
 * one of the two that agree best, as the driver's enrolment chooses.
 *
 * records, bytes  in   `count` records and their lengths; 1 to MV_MAX_CAPTURES
 * chosen          out  its index, from 0
 *
 * The lowest score of any two, 0 to 100 (100 for a single one); the driver's
 * enrolment wants more than 35. Or a code of mv_check_record. */
MV_API int mv_choose_template(const void* const* records, const size_t* bytes,
                              size_t count, size_t* chosen);

/* ---- Many records -------------------------------------------------------- */

/* Records in memory, each with an id (whose) and a finger (which); both are the
 * caller's own numbers, and neither need be unique. Takes 272 bytes a record.
 */
typedef struct mv_gallery mv_gallery;

/* A hit: an id, once, with the best of its records. */
typedef struct {
  int64_t id;
  int32_t finger; /* of that record; the lowest of those with this score */
  int32_t score;  /* 0 to 100, exactly what mv_compare(probe, record) gives */
} mv_hit;

/* How to search. All zero: every id is a hit, and all processors work. */
typedef struct {
  int32_t least_score; /* a hit has at least this score, 0 to 100 */
  int32_t level;       /* a hit passes this level, 1 to 5; 0: any */
  int32_t threads;     /* at most so many; 0: as many as processors */
  /* Called on the searching thread every few milliseconds, with the records
   * that are done and those there are; other than 0 stops the search. Must not
   * call the gallery. May be null. */
  int (*progress)(size_t done, size_t total, void* user);
  void* user;
} mv_search_options;

/* An empty gallery, or null when memory is out. */
MV_API mv_gallery* mv_gallery_new(void);

/* Overwrites and frees everything. No other call may use the gallery any more.
 * Null is allowed. */
MV_API void mv_gallery_free(mv_gallery* gallery);

/* Adds a record. A code of mv_check_record or MV_ERR_MEMORY adds nothing. */
MV_API int mv_gallery_add(mv_gallery* gallery, int64_t id, int32_t finger,
                          const void* record, size_t bytes);

/* Removes every record of an id. How many there were, or MV_ERR_NO_SUCH_ID. */
MV_API int mv_gallery_remove(mv_gallery* gallery, int64_t id);

/* How many records there are; 0 for null. */
MV_API size_t mv_gallery_count(const mv_gallery* gallery);

/* Compares a probe (first) with every record (second).
 *
 * probe, bytes    in   the record to look for
 * options         in   null: all zero
 * hits            out  room for `room` hits: the best ones, by falling score,
 *                      then by rising id
 * room            in   1 or more
 *
 * How many hits were written; 0 when none is good enough. Or a code of
 * mv_check_record, MV_ERR_NO_ROOM, MV_ERR_EMPTY, MV_ERR_MEMORY or
 * MV_ERR_STOPPED; then `hits` is untouched. */
MV_API int64_t mv_gallery_search(const mv_gallery* gallery, const void* probe,
                                 size_t bytes, const mv_search_options* options,
                                 mv_hit* hits, size_t room);

#ifdef __cplusplus
}
#endif

#endif /* MV_MATCH_H_ */
