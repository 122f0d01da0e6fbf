// Hexadecimal text of the serial frames: two characters a byte, high nibble
// first. Writes upper case, reads both.
#ifndef SRC_MV_BASE_HEX_H_
#define SRC_MV_BASE_HEX_H_

#include <cstdint>

// The digit of 0..15; "0" for anything larger.
char _GetHex(uint32_t value);

// The value of a digit; 0 for every other character, so that a malformed text
// decodes to zeros, which the frame's checksum then refuses.
uint8_t _GetBin(char digit);

// Writes 2n characters and no terminator.
void Bin2Hex(char* out, const uint8_t* in, int32_t n);

// Reads n characters and writes n / 2 bytes; an odd last one is ignored.
void Hex2Bin(uint8_t* out, const char* in, int32_t n);

#endif  // SRC_MV_BASE_HEX_H_
