// The CRC-32 of IEEE 802.3 (reflected 0xEDB88320), the check value of frames.
#ifndef SRC_MV_BASE_CRC32_H_
#define SRC_MV_BASE_CRC32_H_

#include <cstdint>

// 0 for a null pointer.
uint32_t GenerateCRC32(const uint8_t* data, uint64_t len);

// The check value of a frame's payload.
uint32_t CreateMacCode(const uint8_t* data, int32_t len);

#endif  // SRC_MV_BASE_CRC32_H_
