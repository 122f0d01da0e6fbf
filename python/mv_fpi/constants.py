"""The constants of mv_fpi.h, under their C names."""

# Least sizes of buffers, in bytes, terminator included.
FG_FEATURE_BYTES = 1024
FG_TEMPLATE_BYTES = 1369
FG_MESSAGE_BYTES = 28
FG_VERSION_BYTES = 9
FG_SN_BYTES = 32  # no terminator when it is full
DEV_REPLY_BYTES = 1024

FG_LINK_SPEED = 9600  # bit/s

FG_LEVEL_SCORE = 0
FG_LEVEL_LOWEST = 1
FG_LEVEL_HIGHEST = 5

# Result codes of the calls.
FG_OK = 0
FG_ERR_ARGUMENT = -1
FG_ERR_TIMEOUT = -2
FG_ERR_PORT = -3
FG_ERR_NO_FINGER = -7
FG_ERR_NO_MATCH = -8
FG_ERR_SELECTOR = -10
FG_ERR_BUSY = -14
FG_ERR_CANCELLED = -23
FG_ERR_NO_LIBRARY = -98
FG_ERR_SYNTHESIS = -99
FG_ERR_GUIDED_SYNTHESIS = -601

# Result codes of the exchange with the reader, passed through unchanged.
FG_DEV_TOO_LONG = -3
FG_DEV_NO_FINGER = -7
FG_DEV_BAD_CRC = -8
FG_DEV_WRITE = -10
FG_DEV_READ = -11
FG_DEV_BAD_HEADER = -14
FG_DEV_NO_MEMORY = -99
