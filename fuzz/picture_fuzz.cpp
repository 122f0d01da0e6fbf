// The window's judgement of a picture: what it lets through can be decoded row
// by row within its bytes.
#include "cx_capdlg/picture.h"
#include "fuzzing.h"

namespace {

size_t Little(const uint8_t* at, int bytes) {
  size_t value = 0;
  for (int i = bytes; i-- > 0;) value = value << 8 | at[i];
  return value;
}

// A decoder that trusts the head, as a picture library may.
uint32_t Decode(const uint8_t* data) {
  const auto height = static_cast<int32_t>(Little(data + 22, 4));
  const auto rows = static_cast<size_t>(std::abs(height));
  const size_t row_bytes =
      (Little(data + 18, 4) * Little(data + 28, 2) + 31) / 32 * 4;
  const size_t colours = Little(data + 46, 4);
  const uint8_t* const pixels = data + Little(data + 10, 4);
  uint32_t sum = 0;
  if (Little(data + 28, 2) == 8) {
    const size_t entries = colours == 0 ? 256 : colours;
    sum += data[54] + data[54 + entries * 4 - 1];
  }
  for (size_t row = 0; row < rows; ++row) {
    sum += pixels[row * row_bytes] + pixels[(row + 1) * row_bytes - 1];
  }
  return sum;
}

volatile uint32_t g_sum;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (corvex::IsBmp(data, size)) g_sum = Decode(data);
  return 0;
}
