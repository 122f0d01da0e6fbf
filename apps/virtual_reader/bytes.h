// Bytes and texts, as the reader's firmware would handle them: nothing here is
// shared with the driver, so that a slip in one of the two shows.
#ifndef APPS_VIRTUAL_READER_BYTES_H_
#define APPS_VIRTUAL_READER_BYTES_H_

#include <algorithm>
#include <cstdint>
#include <iterator>
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

// The parts between the separators.
std::vector<std::string> Split(std::string_view text, char separator);

// The words between blanks.
std::vector<std::string> SplitWords(const std::string& text);

// Decimal, or hexadecimal behind "0x". Nothing for any other text.
std::optional<uint32_t> ParseNumber(std::string_view text);

// The first row of a table that fits; null when none does.
template <typename Row, size_t kRows, typename Predicate>
const Row* FindIf(const Row (&table)[kRows], Predicate fits) {
  const Row* const found = std::find_if(table, std::end(table), fits);
  return found == std::end(table) ? nullptr : found;
}
template <typename Row, size_t kRows>
const Row* FindNamed(const Row (&table)[kRows], std::string_view name) {
  return FindIf(table, [=](const Row& row) { return row.name == name; });
}

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_BYTES_H_
