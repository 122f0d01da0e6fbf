// Three presses that the tool takes itself, one call each, so that it knows
// what a single call of the driver does not tell: each record, whether the
// finger was lifted in between, and how the presses agree. The template is the
// one that the driver would have chosen.
#ifndef APPS_MVFP_ENROLMENT_PRESSES_H_
#define APPS_MVFP_ENROLMENT_PRESSES_H_

#include <chrono>
#include <string>
#include <vector>

#include "commands/capture.h"

namespace corvex::mvfp {

struct Press {
  std::string text;     // Base64
  std::string record;   // its bytes; none when the gallery could not keep it
  std::string problem;  // why
  bool lifted = true;   // the sensor was seen empty before it
};

// How many per cent of the poorer record's minutiae lie in the other one where
// they lie in it, with no turning and no moving.
int InPlacePercent(const std::string& a, const std::string& b);

// So many of two presses that a finger was put down for each hardly reach.
constexpr int kOnePlacementPercent = 50;

struct PressPair {
  size_t first, second;  // from 0
  int score;
  int in_place_percent;
};

struct Presses {
  std::vector<Press> all;
  std::vector<PressPair> pairs;
  size_t chosen = 0;     // its record is the template
  int lowest_score = 0;  // of any two

  bool Agree() const;
};

// Asks for one press after the other, all within the options' time.
class PressTaker {
 public:
  PressTaker(PressOptions options, int presses);

  void CountAsTaken(int presses) { taken_ += presses; }
  Press Take();

 private:
  PressOptions WithTimeLeft() const;

  const PressOptions options_;
  const int presses_;
  const std::chrono::steady_clock::time_point start_ =
      std::chrono::steady_clock::now();
  int taken_ = 0;
};

Presses TakeThree(PressTaker* taker);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_ENROLMENT_PRESSES_H_
