// Up to five captures made of the input: the chosen template and the lowest
// score must be those that the plain form of the comparison leads to.
#include <memory>

#include "MvMatch/MvMatch.h"
#include "MvSynth/MvSynth.h"
#include "fuzzing.h"
#include "reference/plain_matcher.h"

namespace {

using fuzzing::Input;

constexpr size_t kMaxTemplateBytes = 253;

// Ten would be allowed, and 45 comparisons by the plain form.
constexpr int32_t kMostCaptures = 5;

struct Captures {
  int32_t count = 0;
  uint8_t slot[kMostCaptures][corvex::kCaptureSlotBytes] = {};
};

// Each capture: a byte that says how many bytes follow. One of no bytes is the
// last one again, slightly changed: prints that resemble each other are rare.
Captures Fill(Input* input) {
  Captures captures;
  while (!input->Empty() && captures.count < kMostCaptures) {
    uint8_t* const slot = captures.slot[captures.count];
    const size_t bytes = input->Byte();
    if (bytes == 0 && captures.count > 0) {
      std::memcpy(slot, captures.slot[captures.count - 1],
                  sizeof captures.slot[0]);
      slot[3 + input->Byte()] ^= input->Byte();
    } else {
      input->Take(slot, bytes);
    }
    ++captures.count;
  }
  return captures;
}

struct Expected {
  int32_t lowest = corvex::kMaxScore;
  int32_t chosen = 0;
};

Expected Plainly(const Captures& captures, corvex::plain::Matcher* matcher) {
  Expected expected;
  int32_t best = 0;
  for (int32_t a = 0; a < captures.count; ++a) {
    if (corvex::RecordLength(captures.slot[a]) < 0) {
      expected.lowest = corvex::kBadRecord;
    }
  }
  if (expected.lowest < 0) return expected;
  int32_t first = 0;
  int32_t second = 0;
  for (int32_t a = 0; a < captures.count - 1; ++a) {
    for (int32_t b = a + 1; b < captures.count; ++b) {
      const int32_t score =
          matcher->MivoMatchFinger(captures.slot[a], captures.slot[b]);
      if (score < expected.lowest) expected.lowest = score;
      if (score <= best) continue;
      best = score;
      first = a;
      second = b;
    }
  }
  const bool second_is_richer =
      captures.slot[second][2] > captures.slot[first][2];
  expected.chosen = second_is_richer ? second : first;
  return expected;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto plain = std::make_unique<corvex::plain::Matcher>();
  Input input(data, size);
  const Captures captures = Fill(&input);
  if (captures.count == 0) return 0;
  const Expected expected = Plainly(captures, plain.get());
  uint8_t chosen_record[kMaxTemplateBytes] = {};
  uint8_t chosen = 0xFF;
  uint16_t length = 0;
  const int32_t score = MivoSynthMinut(captures.slot[0], captures.count,
                                       chosen_record, &chosen, &length);
  MUST(score == expected.lowest);
  if (score < 0) return 0;
  MUST(chosen == expected.chosen);
  MUST(length == corvex::RecordLength(captures.slot[chosen]));
  MUST(std::memcmp(chosen_record, captures.slot[chosen], length) == 0);
  return 0;
}
