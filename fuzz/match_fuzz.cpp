// Two records made of the input, compared by the fast and the plain form, and
// as two captures of which one becomes the template. The fast form keeps its
// caches from input to input.
#include "MvMatch/MvMatch.h"
#include "MvSynth/MvSynth.h"
#include "fuzzing.h"
#include "reference/plain_matcher.h"

namespace {

using fuzzing::Input;

constexpr uint8_t kAsTheyAre = 0xFF;

// Fields brought into their ranges, so that most inputs reach the comparison.
void MakeValid(uint8_t* entry) {
  const int32_t word = entry[2] | entry[3] << 8;
  const int32_t valid = (word & 0x1FF) % 360 | (word >> 9) % 101 << 9;
  entry[2] = static_cast<uint8_t>(valid);
  entry[3] = static_cast<uint8_t>(valid >> 8);
  entry[4] = static_cast<uint8_t>((entry[4] & 0x80) | (entry[4] & 0x7F) % 101);
}

void Fill(Input* input, bool as_they_are, uint8_t count, uint8_t* record) {
  const size_t minutiae = count % 51;
  record[0] = 0x12;
  record[2] = as_they_are ? count : static_cast<uint8_t>(minutiae);
  input->Take(record + 3, 5 * minutiae);
  for (size_t i = 0; i < minutiae && !as_they_are; ++i) {
    MakeValid(record + 3 + 5 * i);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static corvex::plain::LimitsMet met;
  Input input(data, size);
  const auto mode = input.Take<uint8_t>();
  const auto first_count = input.Take<uint8_t>();
  const auto second_count = input.Take<uint8_t>();
  uint8_t record[2][corvex::kCaptureSlotBytes] = {};
  Fill(&input, mode == kAsTheyAre, first_count, record[0]);
  if (mode % 4 == 1) {  // a near copy: prints that resemble each other are rare
    std::memcpy(record[1], record[0], sizeof record[0]);
    for (int32_t i = 0; i < record[1][2]; ++i) {
      record[1][3 + 5 * i] ^= second_count & 7;
      record[1][4 + 5 * i] ^= second_count >> 5;
    }
  } else {
    Fill(&input, mode == kAsTheyAre, second_count, record[1]);
  }
  const int32_t score =
      corvex::plain::MivoMatchFinger(record[0], record[1], &met);
  MUST(MivoMatchFinger(record[0], record[1]) == score);
  uint8_t chosen = 0;
  MUST(MivoSynthMinut(record[0], 2, nullptr, &chosen, nullptr) == score);
  const bool second_is_better = score > 0 && record[1][2] > record[0][2];
  MUST(chosen == (second_is_better ? 1 : 0));
  return 0;
}
