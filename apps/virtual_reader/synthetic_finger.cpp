#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "virtual_reader/fingers.h"
#include "virtual_reader/random.h"

namespace corvex::vreader {
namespace {

// Angles are whole degrees, counter-clockwise, in integer arithmetic only, so
// that every machine gets the same result.
constexpr int kDegrees = 360;
constexpr int kUnit = 1 << 20;  // what sine and cosine are scaled by

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

// 0 to 359.
int WholeTurn(int degrees) {
  return (degrees % kDegrees + kDegrees) % kDegrees;
}

int Sine(int degrees) {
  return kSines[static_cast<size_t>(WholeTurn(degrees))];
}

int Cosine(int degrees) { return Sine(degrees + 90); }

struct Point {
  int x, y;
};

// Of the vector between two points, 0 to 359, y upwards; 0 for none.
int Direction(Point from, Point to) {
  // The direction is the one in which the vector reaches farthest.
  int best = 0;
  int64_t farthest = 0;
  for (int degrees = 0; degrees < kDegrees; ++degrees) {
    const int64_t reach = int64_t{to.x - from.x} * Cosine(degrees) +
                          int64_t{to.y - from.y} * Sine(degrees);
    if (reach > farthest) {
      farthest = reach;
      best = degrees;
    }
  }
  return best;
}

// An ellipse around the origin.
struct Area {
  int half_width, half_height;

  bool Holds(Point p) const {
    const int64_t a = int64_t{p.x} * half_height;
    const int64_t b = int64_t{p.y} * half_width;
    const int64_t limit = int64_t{half_width} * half_height;
    return a * a + b * b <= limit * limit;
  }
};

// Of a finger, in the record's units; the skin's middle is the origin and y
// points upwards.
constexpr Area kSkin{82, 108};
constexpr int kMinutiae = 48;
constexpr int kSpacing = 12;  // at least, between two minutiae

// Of a press.
constexpr Area kPressed{78, 100};
constexpr int kShiftX = 16;
constexpr int kShiftY = 20;
constexpr int kTurn = 20;    // degrees
constexpr int kStretch = 4;  // percent
constexpr int kPlaceJitter = 3;
constexpr int kDirectionJitter = 8;  // degrees
constexpr int kWeightJitter = 12;
constexpr int kMissed = 12;     // percent of the minutiae
constexpr int kWrongKind = 10;  // likewise
constexpr int kMostSpurious = 6;

// Of a record.
constexpr int kCentre = 128;
constexpr size_t kMostMinutiae = 50;
constexpr uint8_t kFormatTag = 0x12;
constexpr uint8_t kPlainHeader = 0x00;

struct Minutia {
  Point place;
  int direction;
  int weight;
  bool bifurcation;
  int auxiliary;
};

// Where the ridges bend: they turn by 180 degrees around a core, and by as
// much the other way around a delta.
struct Ridges {
  std::vector<Point> cores;
  std::vector<Point> deltas;
  int slope;

  // 0 to 179.
  int DirectionAt(Point place) const {
    int twice = 2 * slope;
    for (const Point& core : cores) twice += Direction(core, place);
    for (const Point& delta : deltas) twice -= Direction(delta, place);
    return WholeTurn(twice) / 2;
  }
};

Ridges DrawRidges(Random* random) {
  constexpr int kArches = 8;  // percent of fingers
  constexpr int kWhorls = 30;
  const int slope = random->Jitter(12);
  const int kind = random->Between(1, 100);
  const Point core{random->Jitter(12), 10 + random->Jitter(15)};
  const int side = random->Chance(50) ? 1 : -1;
  const Point delta{side * random->Between(45, 75), -70 + random->Jitter(15)};
  Ridges ridges{{core}, {delta}, slope};
  if (kind <= kArches) {
    ridges.deltas = {{core.x + random->Jitter(4), core.y - 30}};
  } else if (kind <= kArches + kWhorls) {
    ridges.cores.push_back(
        {core.x + random->Jitter(8), core.y - random->Between(12, 30)});
    ridges.deltas.push_back({-delta.x + random->Jitter(10), delta.y});
  }
  return ridges;
}

// A place in the area that keeps its distance from the others.
Point DrawPlace(const std::vector<Minutia>& others, const Area& area,
                Random* random) {
  while (true) {
    const Point drawn{random->Between(-area.half_width, area.half_width),
                      random->Between(-area.half_height, area.half_height)};
    const auto is_near = [&](const Minutia& m) {
      const int dx = m.place.x - drawn.x;
      const int dy = m.place.y - drawn.y;
      return dx * dx + dy * dy < kSpacing * kSpacing;
    };
    if (area.Holds(drawn) &&
        std::none_of(others.begin(), others.end(), is_near)) {
      return drawn;
    }
  }
}

// A ridge ends, or forks, towards either side.
Minutia DrawMinutia(Point place, const Ridges& ridges, int least_weight,
                    int most_weight, Random* random) {
  const int side = random->Chance(50) ? 180 : 0;
  const int direction =
      WholeTurn(ridges.DirectionAt(place) + side + random->Jitter(12));
  return {place, direction, random->Between(least_weight, most_weight),
          random->Chance(40), random->Between(0, 100)};
}

struct Finger {
  Ridges ridges;
  std::vector<Minutia> minutiae;
};

Finger DrawFinger(uint32_t number) {
  Random random(uint64_t{number} << 32);
  Finger finger;
  finger.ridges = DrawRidges(&random);
  for (int left = kMinutiae + random.Jitter(4); left > 0; --left) {
    const Point place = DrawPlace(finger.minutiae, kSkin, &random);
    finger.minutiae.push_back(
        DrawMinutia(place, finger.ridges, 45, 95, &random));
  }
  return finger;
}

// How one press turns, stretches and shifts the skin.
struct Pose {
  int turn, stretch_x, stretch_y, shear, shift_x, shift_y;
};

void Move(const Pose& pose, Minutia* m) {
  const auto [old_x, old_y] = m->place;
  const int x = old_x + (old_x * pose.stretch_x + old_y * pose.shear) / 100;
  const int y = old_y + old_y * pose.stretch_y / 100;
  const int sine = Sine(pose.turn);
  const int cosine = Cosine(pose.turn);
  m->place = {(x * cosine - y * sine) / kUnit + pose.shift_x,
              (x * sine + y * cosine) / kUnit + pose.shift_y};
  m->direction = WholeTurn(m->direction + pose.turn);
}

int Percent(int value) { return std::clamp(value, 0, 100); }

void Blur(Minutia* m, Random* random) {
  m->place.x += random->Jitter(kPlaceJitter);
  m->place.y += random->Jitter(kPlaceJitter);
  m->direction = WholeTurn(m->direction + random->Jitter(kDirectionJitter));
  m->weight = Percent(m->weight + random->Jitter(kWeightJitter));
  m->auxiliary = Percent(m->auxiliary + random->Jitter(kWeightJitter));
  if (random->Chance(kWrongKind)) m->bifurcation = !m->bifurcation;
}

std::vector<Minutia> Press(const Finger& finger, Random* random) {
  const Pose pose{random->Jitter(kTurn),    random->Jitter(kStretch),
                  random->Jitter(kStretch), random->Jitter(kStretch),
                  random->Jitter(kShiftX),  random->Jitter(kShiftY)};
  std::vector<Minutia> seen;
  for (Minutia m : finger.minutiae) {
    Move(pose, &m);
    Blur(&m, random);
    if (!random->Chance(kMissed) && kPressed.Holds(m.place)) seen.push_back(m);
  }
  for (int left = random->Between(0, kMostSpurious); left > 0; --left) {
    const Point place = DrawPlace(seen, kPressed, random);
    Minutia spurious = DrawMinutia(place, finger.ridges, 20, 60, random);
    spurious.direction = WholeTurn(spurious.direction + pose.turn);
    seen.push_back(spurious);
  }
  if (seen.size() > kMostMinutiae) seen.resize(kMostMinutiae);
  return seen;
}

void AppendMinutia(const Minutia& m, Bytes* record) {
  constexpr int kWeightShift = 9;
  constexpr int kKindBit = 0x80;
  const int word = m.direction | m.weight << kWeightShift;
  const int kind = m.auxiliary | (m.bifurcation ? kKindBit : 0);
  // The record's y points downwards.
  for (const int byte : {kCentre + m.place.x, kCentre - m.place.y, word & 0xFF,
                         word >> 8, kind}) {
    record->push_back(static_cast<uint8_t>(byte));
  }
}

}  // namespace

Bytes SyntheticRecord(uint32_t finger, uint32_t impression) {
  Random random(uint64_t{finger} << 32 | impression);
  auto minutiae = Press(DrawFinger(finger), &random);
  // Found from top to bottom.
  std::sort(minutiae.begin(), minutiae.end(),
            [](const Minutia& a, const Minutia& b) {
              return std::pair(-a.place.y, a.place.x) <
                     std::pair(-b.place.y, b.place.x);
            });
  Bytes record = {kFormatTag, kPlainHeader,
                  static_cast<uint8_t>(minutiae.size())};
  for (const Minutia& m : minutiae) AppendMinutia(m, &record);
  return record;
}

}  // namespace corvex::vreader
