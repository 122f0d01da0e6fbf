// Base64 (RFC 4648 alphabet, no line breaks) for records that cross the
// exported interface as text. Pure functions on caller-owned buffers.
//
// Decoding is lenient: it never fails on the text's content. A character
// outside the alphabet ends the result there, and a rest of fewer than four
// characters is ignored.
#ifndef SRC_MV_BASE_BASE64_H_
#define SRC_MV_BASE_BASE64_H_

#include <cstdint>

constexpr int32_t kCodecBadArgument = -3;

enum CodecMode : int32_t { kDecode = 0, kEncode = 1 };

// Characters of the text of `byte_count` bytes, terminator not counted.
constexpr int32_t Base64Length(int32_t byte_count) {
  return (byte_count + 2) / 3 * 4;
}

// Encodes 3 bytes as 4 characters; writes no terminator.
void B64encode(char* out, const uint8_t* in);

// Encodes `n` bytes and terminates the text: `out` holds Base64Length(n) + 1.
// Returns the length of the text, or kCodecBadArgument.
int32_t EncodeB64(char* out, const uint8_t* in, int32_t n);

// Decodes one group of up to 4 characters. Returns the bytes written, 0 to 3.
int32_t B64decode(uint8_t* out, const char* in);

// Decodes `n` characters into at most n / 4 * 3 bytes; writes no terminator.
// Returns the bytes written, or kCodecBadArgument.
int32_t DecodeB64(uint8_t* out, const char* in, int32_t n);

// Encodes (mode not 0) or decodes (mode 0). With a null `out` returns the room
// that the output needs, the text's terminator included.
int32_t CodeB64(int32_t mode, void* out, const void* in, int32_t n);

#endif  // SRC_MV_BASE_BASE64_H_
