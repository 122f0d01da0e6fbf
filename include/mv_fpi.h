/* mv_fpi.h - fingerprint reader on a serial port.
 *
 * RULES THAT ALL CALLS SHARE
 *
 *  1. Plain C, 64-bit little-endian Linux. No call throws, and none ends the
 *     process whatever it is given.
 *  2. Every call is complete in itself: it takes the machine-wide lock, opens
 *     the port, talks to the reader, closes the port, releases the lock. There
 *     is nothing to initialise, nothing to close, and no background activity.
 *  3. One device call runs at a time on the whole machine. A second one, from
 *     any thread or process, fails at once with FG_ERR_BUSY; it never queues.
 *     FG_FpMatch touches no device, takes no lock and may run in any number of
 *     threads at once.
 *  4. Every buffer belongs to the caller. No memory passes from the library to
 *     the caller, and no pointer is kept after a call returns.
 *  5. Result 0 (or a score, from FG_FpMatch at level 0) is success, a negative
 *     number is a failure. Output buffers are written on success only; the
 *     message buffer is the one exception, and each call says when.
 *  6. A reader's own failure passes through unchanged, so -3, -7, -8, -10, -11,
 *     -14 and -99 can mean two things (see FG_DEV_* below). The day's
 *     diagnostic log tells them apart: create /tmp/fplog_YYYYMMDD.log (local
 *     date) and every call appends to it for that day.
 *  7. A signal handler may interrupt a wait. A pause then ends early; a wait
 *     for the reader's reply ends as if none had come (FG_DEV_READ), SA_RESTART
 *     or not. Hosts with frequent signals block them in the calling thread.
 *  8. A call may fork and run a program only in FG_TipsGetTemplate.
 *
 * ARGUMENTS THAT DEVICE CALLS SHARE
 *
 *  port        device name below /dev, such as "ttyUSB0"; not NULL
 *  bp_select   selector of the switch box (BP box) in front of the reader: a
 *              text that begins with A, B, C or K; "" when there is no box;
 *              not NULL
 *  link_speed  bit/s on the line; must be 9600
 *  timeout_s   whole seconds to wait for the finger
 *  message     at least FG_MESSAGE_BYTES bytes; receives a short Chinese
 *              status text, UTF-8 and NUL
 */
#ifndef MV_FPI_H_
#define MV_FPI_H_

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define MV_API __attribute__((visibility("default")))
#else
#define MV_API
#endif

/* Least sizes of the caller's buffers, in bytes, terminator included. */
enum {
  FG_FEATURE_BYTES = 1024,  /* feature text of FG_GetFeature */
  FG_TEMPLATE_BYTES = 1369, /* template text of the enrolment calls */
  FG_MESSAGE_BYTES = 28,    /* status text */
  FG_VERSION_BYTES = 9,     /* "v255.255" */
  FG_SN_BYTES = 32,         /* serial number; NOT terminated when it is full */
  DEV_REPLY_BYTES = 1024    /* reply text of DEV_CommCall */
};

enum { FG_LINK_SPEED = 9600 }; /* the only link speed, bit/s */

/* Security level of FG_FpMatch: 0 asks for the score, 1 to 5 for a decision. */
enum { FG_LEVEL_SCORE = 0, FG_LEVEL_LOWEST = 1, FG_LEVEL_HIGHEST = 5 };

/* Result codes of the calls. */
enum {
  FG_OK = 0,
  FG_ERR_ARGUMENT = -1,    /* an argument breaks its rule */
  FG_ERR_TIMEOUT = -2,     /* no finger, or not all presses, in time */
  FG_ERR_PORT = -3,        /* the port could not be opened as a terminal */
  FG_ERR_NO_FINGER = -7,   /* FG_CheckPressed: no finger on the sensor */
  FG_ERR_NO_MATCH = -8,    /* FG_FpMatch: no match, or a malformed record */
  FG_ERR_SELECTOR = -10,   /* switch box; FG_GetFeature: link speed too */
  FG_ERR_BUSY = -14,       /* another call holds the reader */
  FG_ERR_CANCELLED = -23,  /* the user closed the prompt window */
  FG_ERR_NO_LIBRARY = -98, /* the algorithm library cannot be loaded */
  FG_ERR_SYNTHESIS = -99,  /* FG_GetTemplate: the presses do not agree */
  FG_ERR_GUIDED_SYNTHESIS = -601 /* FG_TipsGetTemplate: the same */
};

/* Result codes of the exchange with the reader, passed through unchanged. */
enum {
  FG_DEV_TOO_LONG = -3,    /* the reply announces more than 1024 bytes, or the
                              feature does not fit FG_FEATURE_BYTES */
  FG_DEV_NO_FINGER = -7,   /* status 7 to a finger probe */
  FG_DEV_BAD_CRC = -8,     /* the reply's checksum is wrong */
  FG_DEV_WRITE = -10,      /* the request could not be written */
  FG_DEV_READ = -11,       /* no reply, or it broke off */
  FG_DEV_BAD_HEADER = -14, /* not a reply to this request, or a status */
  FG_DEV_NO_MEMORY = -99   /* no memory for the reply */
};

/* Read the reader's firmware version.
 *
 * Blocks about 0.3 s (0.25 s more with a switch box); 10 s more for each
 * silence of a reader that stops answering.
 *
 * port, bp_select, link_speed   in   see above
 * version  out  caller's, >= FG_VERSION_BYTES: "v<major>.<minor>" and NUL;
 *               untouched unless the result is 0
 *
 * 0, or: FG_ERR_ARGUMENT, FG_ERR_PORT, FG_ERR_SELECTOR, FG_ERR_BUSY; else the
 * reader's code (FG_DEV_*). */
MV_API int FG_GetDevVersion(const char* port, const char* bp_select,
                            int link_speed, char* version);

/* Read the reader's serial number.
 *
 * Blocks about 0.4 s, otherwise as FG_GetDevVersion.
 *
 * port, bp_select, link_speed   in   see above
 * sn       out  caller's, >= FG_SN_BYTES: always exactly 32 bytes, padded with
 *               NUL; a 32-character number has no NUL, so give 33 zeroed bytes
 *               to use it as text. Untouched unless the result is 0
 *
 * Codes as FG_GetDevVersion. */
MV_API int FG_GetDevSn(const char* port, const char* bp_select, int link_speed,
                       char* sn);

/* Ask whether a finger lies on the sensor.
 *
 * Blocks as FG_GetDevVersion.
 *
 * port, bp_select, link_speed   in   see above
 *
 * 0 when a finger is there. FG_ERR_NO_FINGER when it is not, and also when the
 * probe itself failed. FG_ERR_ARGUMENT, FG_ERR_PORT, FG_ERR_SELECTOR,
 * FG_ERR_BUSY. */
MV_API int FG_CheckPressed(const char* port, const char* bp_select,
                           int link_speed);

/* Capture one feature: wait for a finger, read it, beep.
 *
 * Blocks until the finger comes, up to timeout_s and about a second more; 10 s
 * more for each silence of a reader that stops answering.
 *
 * port, bp_select, link_speed   in   see above
 * timeout_s    in   seconds, greater than 0
 * feature      out  caller's, >= FG_FEATURE_BYTES, not NULL: Base64 text and
 *                   NUL; untouched unless the result is 0
 * feature_len  out  caller's, not NULL: characters without the NUL; untouched
 *                   unless the result is 0. 0 (and an empty text) when the
 *                   reader had nothing to give
 * message      out  caller's, >= FG_MESSAGE_BYTES, not NULL; untouched after
 *                   FG_ERR_ARGUMENT, FG_ERR_BUSY and a failed probe
 *
 * 0, or: FG_ERR_ARGUMENT, FG_ERR_TIMEOUT, FG_ERR_PORT, FG_ERR_SELECTOR (the
 * switch box, or the link speed that this call sets on the reader; the message
 * tells which), FG_ERR_BUSY; else the reader's code (FG_DEV_*). */
MV_API int FG_GetFeature(const char* port, const char* bp_select,
                         int link_speed, int timeout_s, char* feature,
                         int* feature_len, char* message);

/* Enrol one finger: three presses within one time-out, merged into a template.
 *
 * Blocks up to timeout_s and about a second more. A finger that stays on the
 * sensor counts as the next press. 10 s more for each silence of a reader that
 * stops answering.
 *
 * port, bp_select, link_speed   in   see above
 * timeout_s     in   seconds for all three presses together, 0 or greater; 0
 *                    expires at once
 * tmpl          out  caller's, >= FG_TEMPLATE_BYTES, not NULL: Base64 text and
 *                    NUL; untouched unless the result is 0
 * tmpl_len      out  caller's, not NULL: characters without the NUL; untouched
 *                    unless the result is 0
 * message       out  caller's, >= FG_MESSAGE_BYTES, not NULL; untouched after
 *                    FG_ERR_ARGUMENT, FG_ERR_BUSY, FG_ERR_NO_LIBRARY and a
 *                    failed probe
 *
 * 0, or: FG_ERR_ARGUMENT, FG_ERR_TIMEOUT, FG_ERR_PORT, FG_ERR_SELECTOR,
 * FG_ERR_BUSY, FG_ERR_NO_LIBRARY (dual-feature presses only),
 * FG_ERR_SYNTHESIS; else the reader's code (FG_DEV_*). */
MV_API int FG_GetTemplate(const char* port, const char* bp_select,
                          int link_speed, int timeout_s, char* tmpl,
                          int* tmpl_len, char* message);

/* Enrol one finger as FG_GetTemplate does, with a prompt window that tells the
 * user which press is due.
 *
 * The window is the program cx_capdlg beside the driver's own file. Without it
 * (or with timeout_s 0) the enrolment goes on without a window. Starting and
 * closing the window may add up to 3 s each.
 *
 * Arguments as FG_GetTemplate. Codes as FG_GetTemplate, but
 * FG_ERR_GUIDED_SYNTHESIS in place of FG_ERR_SYNTHESIS, and FG_ERR_CANCELLED
 * when the user closed the window. */
MV_API int FG_TipsGetTemplate(const char* port, const char* bp_select,
                              int link_speed, int timeout_s, char* tmpl,
                              int* tmpl_len, char* message);

/* Compare two records, usually a template and a feature.
 *
 * Touches no device and no lock. The first record is the one to repeat when
 * one record is compared with many: its preparation is kept between calls.
 * Swapping the records can change the score.
 *
 * first, second  in  NUL-terminated Base64 texts as the capture and enrolment
 *                    calls return them, not NULL
 * level          in  0: return the score. 1 to 5: decide; a higher level
 *                    accepts less. The score must exceed 30, 32, 36, 40, 45
 *                    (dual-feature records, scored by the algorithm library:
 *                    38, 40, 45, 50, 55)
 *
 * Level 0: the score, 0 to 100 (dual-feature: whatever the algorithm library
 * says, unchecked). Level 1 to 5: 0 for a match. FG_ERR_NO_MATCH for no match,
 * or at any level for a malformed record; FG_ERR_ARGUMENT; FG_ERR_NO_LIBRARY
 * (dual-feature records only). */
MV_API int FG_FpMatch(const char* first, const char* second, int level);

/* Answer one request in JSON: information about the reader on port /dev/COM<n>.
 *
 * Blocks as FG_GetDevSn and FG_GetDevVersion together.
 *
 * request    in   NUL-terminated JSON text, not NULL:
 *                 {"FunctionCode": "0001", "RequestPort": "<n>"}
 * reserved   in   not NULL, otherwise unused
 * reply      out  caller's, >= DEV_REPLY_BYTES, not NULL: a JSON object, one
 *                 key a line, and NUL; written in success and failure alike,
 *                 but not after a NULL argument
 * reply_len  out  caller's, not NULL: characters of the reply without the NUL
 *
 * 0, or: -1 (a NULL argument or a request field that breaks its rule), -99 (no
 * JSON, or no "FunctionCode"), else the code of the failed device query. */
MV_API int DEV_CommCall(const char* request, void* reserved, char* reply,
                        unsigned int* reply_len);

#ifdef __cplusplus
}
#endif

#endif /* MV_FPI_H_ */
