#include "virtual_reader/angle.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace corvex::vreader {
namespace {

constexpr int kDegrees = 360;

// Turns a unit vector by one degree at a time, with 30 fractional bits.
constexpr std::array<int, kDegrees> MakeSines() {
  constexpr int64_t kSineOfOne = 18739379;      // of one degree
  constexpr int64_t kCosineOfOne = 1073578288;  // likewise
  constexpr int kBits = 30;
  constexpr int kSpareBits = 10;  // 20 are kept
  std::array<int, kDegrees> sines{};
  int64_t x = int64_t{1} << kBits;
  int64_t y = 0;
  for (int& sine : sines) {
    sine = static_cast<int>((y + (1 << (kSpareBits - 1))) >> kSpareBits);
    const int64_t turned = (x * kCosineOfOne - y * kSineOfOne) >> kBits;
    y = (y * kCosineOfOne + x * kSineOfOne) >> kBits;
    x = turned;
  }
  return sines;
}
constexpr std::array<int, kDegrees> kSines = MakeSines();

}  // namespace

int WholeTurn(int degrees) {
  return (degrees % kDegrees + kDegrees) % kDegrees;
}

int Sine(int degrees) {
  return kSines[static_cast<size_t>(WholeTurn(degrees))];
}

int Cosine(int degrees) { return Sine(degrees + 90); }

int Direction(int dx, int dy) {
  // The direction is the one in which the vector reaches farthest.
  int best = 0;
  int64_t farthest = 0;
  for (int degrees = 0; degrees < kDegrees; ++degrees) {
    const int64_t reach =
        int64_t{dx} * Cosine(degrees) + int64_t{dy} * Sine(degrees);
    if (reach > farthest) {
      farthest = reach;
      best = degrees;
    }
  }
  return best;
}

}  // namespace corvex::vreader
