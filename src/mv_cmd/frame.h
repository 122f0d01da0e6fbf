// Command frames: one request to the reader, one checked reply.
//
//   request  ~ CC 16 LLLLLLLL payload [crc]
//   reply    ~ CC SS 16 DDDDDDDD data [crc]
//
// All but the start mark is hex text. CC is the command, SS the reader's
// status, the lengths and the CRC-32 of payload or data are little-endian; a
// frame without payload or data carries no CRC.
#ifndef SRC_MV_CMD_FRAME_H_
#define SRC_MV_CMD_FRAME_H_

#include <cstdint>

constexpr char kStartMark = '~';
constexpr uint8_t kFrameMarker = 0x16;
constexpr int32_t kMaxPayloadBytes = 1000;
constexpr int32_t kMaxReplyBytes = 1024;

// Sizes in bytes; on the line each takes two characters.
constexpr int32_t kLengthBytes = 4;
constexpr int32_t kCrcBytes = 4;
constexpr int32_t kRequestHeaderBytes = 2 + kLengthBytes;  // command, marker
constexpr int32_t kReplyHeaderBytes = 3 + kLengthBytes;    // ... and status

constexpr uint8_t kStatusOk = 0;
constexpr uint8_t kStatusNoFinger = 7;

enum Command : uint8_t {
  kCmdVersion = 0x10,
  kCmdRate = 0x12,
  kCmdCheck = 0x13,
  kCmdFeature = 0x14,
  kCmdSerial = 0x15,
  kCmdSignal = 0x17,  // LED and beeper
};

enum DevCode : int32_t {
  kDevBadArgument = -1,
  kDevReplyTooLong = -3,
  kDevNoFinger = -7,
  kDevBadCrc = -8,
  kDevWriteFailed = -10,
  kDevReadFailed = -11,
  kDevBadHeader = -14,
  kDevNoMemory = -99,
};

// Sends one request and receives its reply.
//
// payload   in   not null, also when payload_len is 0
// out       out  room for the reply's data, at most kMaxReplyBytes; untouched
//                unless data arrived whole
// out_len   out  the data's length; untouched when there is none
//
// Returns the length of the data, 0 for a reply without any, or a DevCode.
int32_t corvex_dev_io(int32_t fd, uint8_t cmd, const uint8_t* payload,
                      int32_t payload_len, uint8_t* out, uint32_t* out_len);

#endif  // SRC_MV_CMD_FRAME_H_
