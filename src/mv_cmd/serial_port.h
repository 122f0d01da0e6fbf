// The serial port: opened raw at 9600 baud 8N1, read with time-outs, restored
// on close.
//
// One port is open at a time (the call lock sees to it): the settings to
// restore are one process-wide record.
#ifndef SRC_MV_CMD_SERIAL_PORT_H_
#define SRC_MV_CMD_SERIAL_PORT_H_

#include <cstdint>

// The longest silence before and between the reader's bytes.
constexpr uint32_t kSilenceLimitMs = 10000;

enum PortCode : int32_t {
  kPortFailed = -1,          // bad argument, or the port could not be opened
  kPortTimeout = -2,         // nothing arrived in time
  kPortSelectFailed = -9,    // waiting itself failed
  kPortRateReadFailed = -11  // no byte in time, in speed-change mode
};

// Opens "/dev/<name>". Returns its descriptor, or kPortFailed.
int32_t corvex_open_uart(const char* name);

// Restores the settings that the last open found, once pending output is out,
// and closes. Any descriptor is accepted. Always 0.
int32_t corvex_close_uart(int32_t fd);

// Waits once for a byte: 0, kPortTimeout or kPortSelectFailed.
int32_t corvex_wait_data(int32_t fd, uint32_t timeout_ms);

// Reads up to n bytes and terminates them: `buf` holds n + 1. Returns the
// bytes read; fewer than n after kSilenceLimitMs without one, or at once when
// the port hangs up. kPortFailed for a bad argument.
int32_t corvex_read_data(int32_t fd, uint8_t* buf, int32_t n);

// Waits for a byte, resumed when a signal interrupts: fd, 0 after the
// time-out, or kPortFailed.
int32_t wait_read(int32_t fd, int64_t timeout_ms);

// Like corvex_read_data, but waits before every byte and gives all n bytes or
// kPortRateReadFailed (then without a terminator).
int32_t corvex_read_rate_data(int32_t fd, uint8_t* buf, int32_t n);

// One write, not repeated when short: its result.
int32_t corvex_write_data(int32_t fd, const uint8_t* buf, int32_t len);

#endif  // SRC_MV_CMD_SERIAL_PORT_H_
