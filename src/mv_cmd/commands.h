// The reader's command set. Each function sends one command and returns a
// DevCode (frame.h) on failure.
#ifndef SRC_MV_CMD_COMMANDS_H_
#define SRC_MV_CMD_COMMANDS_H_

#include <cstdint>

constexpr int32_t kVersionTextBytes = 9;  // "v255.255" and NUL
constexpr int32_t kSerialBytes = 32;
constexpr int32_t kRate9600 = 3;          // the reader's index of 9600 baud
constexpr int32_t kMinFeatureBytes = 17;  // a shorter reply is no feature

// Writes "v<major>.<minor>" and NUL; returns the text's length.
int32_t corvex_get_version(int32_t fd, char* out);

// Writes exactly kSerialBytes, zero-padded and not terminated; returns
// kSerialBytes.
int32_t corvex_get_sn(int32_t fd, char* out);

// Switches the LED; the mode is ignored.
int32_t corvex_set_led(int32_t fd, int32_t mode);

// Sounds the beeper; the mode is ignored, and a failure has no consequence.
void corvex_set_beep(int32_t fd, int32_t mode);

// Sets the reader's speed by its index, 0 to 7; the port stays at 9600 baud.
int32_t corvex_set_rate(int32_t fd, int32_t index);

// 0 or more when a finger is on the sensor, kDevNoFinger when none is.
int32_t corvex_get_check(int32_t fd);

// Reads the feature of the finger on the sensor. `out` holds kMaxReplyBytes,
// or, with `encode` not 0, the Base64 text of that many bytes and NUL. Returns
// the bytes or characters written. A reply shorter than kMinFeatureBytes is
// not a feature: its length is returned and nothing written.
int32_t corvex_get_feature(int32_t fd, uint8_t* out, int32_t encode);

// Sends the switch box (BP box) the selector A, B, C or K that `select` begins
// with: three raw bytes, no reply. Returns the result of the write.
int32_t corvex_set_bpbox(int32_t fd, const char* select);

#endif  // SRC_MV_CMD_COMMANDS_H_
