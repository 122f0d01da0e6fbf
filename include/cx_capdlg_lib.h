/* cx_capdlg_lib.h - the channel between the driver and the prompt window.
 *
 * RULES THAT ALL CALLS SHARE
 *
 *  1. The same code serves both ends. The driver starts the prompt program
 *     with cx_dlg_init, sends with cx_dlg_send_data and ends with
 *     cx_dlg_uninit. The prompt program asks cx_dlg_get_timeout and
 *     cx_dlg_get_dlgtype once, then calls cx_dlg_recv_data a few times a
 *     second; it needs no cx_dlg_init. A prompt program links the static
 *     library cx_capdlg_lib, not the driver.
 *  2. One channel a process and one session a machine. The calls are for one
 *     thread at a time.
 *  3. There is one slot for each kind of item and no queue: a second post of a
 *     kind overwrites the first. A close request is taken before a text, a
 *     text before pictures.
 *  4. The prompt program must exit when it takes a close request, and when the
 *     user closes its window. Nothing else tells the driver: it looks for a
 *     process of the program's name.
 *  5. No call throws, and none ends the process, whatever the other side wrote
 *     into the block.
 *  6. A negative result is a code of CX_DLG_*; cx_dlg_get_errinf tells more.
 *  7. The end of the process, or of the library in it, removes the block. Calls
 *     after that, from static objects for example, find the channel closed:
 *     cx_dlg_uninit does nothing, the others fail.
 */
#ifndef CX_CAPDLG_LIB_H_
#define CX_CAPDLG_LIB_H_

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define CX_API __attribute__((visibility("default")))
#else
#define CX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes of the channel. */
enum {
  CX_DLG_OK = 0,
  CX_DLG_FAILED = -1, /* no shared block, or the program did not come up */
  CX_DLG_BAD_ARGUMENT = -3, /* null data, or a picture that does not fit */
  CX_DLG_NOTHING = -4,      /* nothing is pending */
  CX_DLG_NO_PROGRAM = -18,  /* the program's file does not exist */
  CX_DLG_NOT_INITIALISED = -19,
  CX_DLG_NOT_RUNNING = -20 /* the program has exited */
};

/* What cx_dlg_send_data sends. SMO_SET_DLGINFO is posted by cx_dlg_init. */
enum {
  SMO_SET_QUIT = 1,    /* close request */
  SMO_SET_DLGINFO = 2, /* time-out and dialog type */
  SMO_SET_MSG = 3,     /* prompt text */
  SMO_SET_IMAGES = 4   /* one picture or two */
};

enum {
  CX_SMO_TEXT_BYTES = 256,      /* text field, terminator included */
  CX_SMO_IMAGE_BYTES = 1048576, /* picture field */
  CX_SMO_SIZE = 2097692,        /* the whole record */
  CX_DLG_ERRINF_BYTES = 2048    /* least buffer of cx_dlg_get_errinf */
};

/* The shared block, and one side's copy of it. Native byte order; a flag is 0
 * or 1. A text may run past its field, never past the record: read msg_text as
 * a text that ends at the first NUL within the record. */
typedef struct smo_data_t {
  int32_t timeout;   /* as given to cx_dlg_init; the driver's is in seconds */
  int32_t dlg_type;  /* as given to cx_dlg_init; the driver's is 1 */
  int32_t quit_flag; /* 1: the program is to close */
  int32_t msg_flag;  /* 1: msg_text is new */
  char msg_text[CX_SMO_TEXT_BYTES];      /* UTF-8 and NUL */
  int32_t img_flag;                      /* 1: a picture is new */
  int32_t img1_len;                      /* valid bytes of img1_data */
  uint8_t img1_data[CX_SMO_IMAGE_BYTES]; /* the driver's is a BMP file */
  int32_t img2_len;
  uint8_t img2_data[CX_SMO_IMAGE_BYTES];
  uint8_t reserved[256]; /* nobody's */
} smo_data_t;

static_assert(sizeof(smo_data_t) == CX_SMO_SIZE, "shared layout");
static_assert(offsetof(smo_data_t, timeout) == 0, "shared layout");
static_assert(offsetof(smo_data_t, dlg_type) == 4, "shared layout");
static_assert(offsetof(smo_data_t, quit_flag) == 8, "shared layout");
static_assert(offsetof(smo_data_t, msg_flag) == 12, "shared layout");
static_assert(offsetof(smo_data_t, msg_text) == 16, "shared layout");
static_assert(offsetof(smo_data_t, img_flag) == 272, "shared layout");
static_assert(offsetof(smo_data_t, img1_len) == 276, "shared layout");
static_assert(offsetof(smo_data_t, img1_data) == 280, "shared layout");
static_assert(offsetof(smo_data_t, img2_len) == 1048856, "shared layout");
static_assert(offsetof(smo_data_t, img2_data) == 1048860, "shared layout");
static_assert(offsetof(smo_data_t, reserved) == 2097436, "shared layout");

/* Create the shared block and start the prompt program; a running channel is
 * closed first, and a running program of that name is killed.
 *
 * Blocks until the program is found running, up to 3 s.
 *
 * dlg_type  in   any number, for the prompt program
 * timeout   in   any number, for the prompt program
 * path      in   of the program, not NULL; relative to the directory of the
 *                running executable. At most 15 characters after the last '/'
 *
 * The program's process id, or: CX_DLG_FAILED, CX_DLG_BAD_ARGUMENT,
 * CX_DLG_NO_PROGRAM. */
CX_API int32_t cx_dlg_init(int32_t dlg_type, int32_t timeout, const char* path);

/* Ask the program to close, kill it when it does not, remove the block. Does
 * nothing when the channel is not initialised.
 *
 * Blocks until the program has exited, up to 3 s.
 *
 * CX_DLG_OK. */
CX_API int32_t cx_dlg_uninit(void);

/* Send one item to the program.
 *
 * Blocks for a look at the process table, and up to 1 s for the other side to
 * leave the block.
 *
 * kind    in   SMO_SET_QUIT, SMO_SET_MSG or SMO_SET_IMAGES; any other sends
 *              nothing and returns the program's process id
 * data1   in   SMO_SET_MSG: NUL-terminated UTF-8, not NULL, best below
 *              CX_SMO_TEXT_BYTES. SMO_SET_IMAGES: first picture, or NULL
 * len1    in   bytes of the first picture, at most CX_SMO_IMAGE_BYTES
 * data2   in   second picture, or NULL
 * len2    in   bytes of the second picture, at most CX_SMO_IMAGE_BYTES
 *
 * A picture that is not given is sent again as it was sent last.
 *
 * CX_DLG_OK, or: CX_DLG_NOT_INITIALISED, CX_DLG_BAD_ARGUMENT,
 * CX_DLG_NOT_RUNNING, CX_DLG_FAILED. */
CX_API int32_t cx_dlg_send_data(int32_t kind, const void* data1, int32_t len1,
                                const void* data2, int32_t len2);

/* Take one item, if one is pending.
 *
 * Blocks up to 1 s for the other side to leave the block.
 *
 * item   out  caller's, not NULL: cleared whole, then the taken item's flag
 *             and fields; all of it zero when nothing was taken
 * bytes  out  caller's, or NULL: CX_SMO_SIZE; untouched when nothing was taken
 *
 * 1, or: CX_DLG_NOTHING, CX_DLG_FAILED (there is no block),
 * CX_DLG_BAD_ARGUMENT. */
CX_API int32_t cx_dlg_recv_data(smo_data_t* item, uint32_t* bytes);

/* The dialog type that cx_dlg_init was given, or CX_DLG_FAILED. */
CX_API int32_t cx_dlg_get_dlgtype(void);

/* The time-out that cx_dlg_init was given, or CX_DLG_FAILED. */
CX_API int32_t cx_dlg_get_timeout(void);

/* Tell the reason of the last failure.
 *
 * text  out  caller's, >= CX_DLG_ERRINF_BYTES, not NULL: text and NUL; empty
 *            when nothing has failed yet
 *
 * The length of the text, or CX_DLG_BAD_ARGUMENT. */
CX_API int32_t cx_dlg_get_errinf(char* text);

/* The sender's copy of the block: what the next post takes. NULL between
 * sessions. */
extern CX_API smo_data_t* m_smo_data;

/* "string_version: 1.0.0.2" */
extern CX_API const char* const _libver_;

#ifdef __cplusplus
}

/* The channel's object, for diagnosis; its class is no public interface. */
class CxSmoBase1;
extern CX_API CxSmoBase1 m_smo_opt;
#endif

#endif /* CX_CAPDLG_LIB_H_ */
