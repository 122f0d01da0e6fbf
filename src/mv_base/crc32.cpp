#include "mv_base/crc32.h"

#include <array>

namespace {

constexpr std::array<uint32_t, 256> MakeTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t crc = i;
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
    }
    table[i] = crc;
  }
  return table;
}
constexpr std::array<uint32_t, 256> kTable = MakeTable();

}  // namespace

uint32_t GenerateCRC32(const uint8_t* data, uint64_t len) {
  if (data == nullptr) return 0;
  uint32_t crc = 0xFFFFFFFFu;
  for (uint64_t i = 0; i < len; ++i) {
    crc = (crc >> 8) ^ kTable[(crc ^ data[i]) & 0xFF];
  }
  return ~crc;
}

uint32_t CreateMacCode(const uint8_t* data, int32_t len) {
  return GenerateCRC32(data, len > 0 ? static_cast<uint64_t>(len) : 0);
}
