// Bytes, their hexadecimal text and their check value, as the reader's firmware
// would have them: nothing here is shared with the driver, so that a slip in
// one of the two shows.
#ifndef APPS_VIRTUAL_READER_BYTES_H_
#define APPS_VIRTUAL_READER_BYTES_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvex::vreader {

using Bytes = std::vector<uint8_t>;

// Two upper-case characters a byte.
std::string ToHex(const Bytes& bytes);

// Nothing when a character is not a digit of either case, or one is left over.
std::optional<Bytes> FromHex(std::string_view text);

// The four bytes of `value`, least significant first, and back.
Bytes LittleEndian(uint32_t value);
uint32_t FromLittleEndian(const Bytes& bytes, size_t offset);

uint32_t CheckValue(const Bytes& bytes);

// For messages: what is not printable appears as \xNN.
std::string Printable(std::string_view text);

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_BYTES_H_
