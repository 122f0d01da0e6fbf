// Two records made of the input, compared by the fast and the plain form. Both
// keep their caches from input to input.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "MvMatch/MvMatch.h"
#include "reference/plain_matcher.h"

namespace {

constexpr size_t kEntryBytes = 5;
constexpr size_t kMaxRecordBytes = 253;

struct Record {
  uint8_t bytes[kMaxRecordBytes] = {0x12, 0x84};
};

// Fields brought into their ranges, so that most inputs reach the comparison;
// the first byte of an input can ask for them as they are.
void MakeValid(uint8_t* entry) {
  const uint32_t word = entry[2] | static_cast<uint32_t>(entry[3]) << 8;
  const uint32_t valid = (word & 0x1FF) % 360 | ((word >> 9) % 101) << 9;
  entry[2] = static_cast<uint8_t>(valid & 0xFF);
  entry[3] = static_cast<uint8_t>(valid >> 8);
  entry[4] = static_cast<uint8_t>((entry[4] & 0x80) | (entry[4] & 0x7F) % 101);
}

// Takes up to `count` entries from the input.
size_t Fill(const uint8_t* data, size_t size, size_t count, bool as_they_are,
            Record* record) {
  size_t taken = 0;
  for (; taken < count && size >= kEntryBytes; ++taken, size -= kEntryBytes) {
    uint8_t* const entry = record->bytes + 3 + taken * kEntryBytes;
    for (size_t i = 0; i < kEntryBytes; ++i) {
      entry[i] = data[taken * kEntryBytes + i];
    }
    if (!as_they_are) MakeValid(entry);
  }
  record->bytes[2] = static_cast<uint8_t>(taken);
  return taken * kEntryBytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto plain = std::make_unique<corvex::plain::Matcher>();
  if (size < 3) return 0;
  const bool as_they_are = data[0] == 0xFF;
  // A small turn of the second print's coordinates makes a near copy of it.
  const bool copy = data[0] % 4 == 1;
  Record first;
  Record second;
  const size_t first_count = data[1] % 51;
  const size_t used =
      3 + Fill(data + 3, size - 3, first_count, as_they_are, &first);
  if (copy) {
    second = first;
    for (size_t i = 0; i < second.bytes[2]; ++i) {
      second.bytes[3 + i * kEntryBytes] ^= data[2] & 7;
      second.bytes[4 + i * kEntryBytes] ^= data[2] >> 5;
    }
  } else {
    Fill(data + used, size - used, data[2] % 51, as_they_are, &second);
  }
  const int32_t expected = plain->MivoMatchFinger(first.bytes, second.bytes);
  const int32_t score = MivoMatchFinger(first.bytes, second.bytes);
  if (score != expected) {
    std::fprintf(stderr, "score %d, expected %d\n", score, expected);
    std::abort();
  }
  return 0;
}
