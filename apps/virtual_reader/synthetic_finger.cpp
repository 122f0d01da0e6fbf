#include "virtual_reader/synthetic_finger.h"

#include <algorithm>
#include <array>
#include <vector>

#include "virtual_reader/angle.h"
#include "virtual_reader/random.h"

namespace corvex::vreader {
namespace {

// Of a finger, in the record's units; the skin's middle is the origin and y
// points upwards.
constexpr int kHalfWidth = 82;
constexpr int kHalfHeight = 108;
constexpr int kMinutiae = 48;
constexpr int kSpacing = 12;  // at least, between two minutiae

// Of a press.
constexpr int kPressHalfWidth = 78;
constexpr int kPressHalfHeight = 100;
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
  int x = 0;
  int y = 0;
  int direction = 0;
  int weight = 0;
  bool bifurcation = false;
  int auxiliary = 0;
};

struct Point {
  int x, y;
};

bool InEllipse(int x, int y, int half_width, int half_height) {
  const int64_t a = int64_t{x} * half_height;
  const int64_t b = int64_t{y} * half_width;
  const int64_t limit = int64_t{half_width} * half_height;
  return a * a + b * b <= limit * limit;
}

// Where the ridges bend: they turn by 180 degrees around a core, and by as
// much the other way around a delta.
struct Ridges {
  std::vector<Point> cores;
  std::vector<Point> deltas;
  int slope = 0;

  // 0 to 179.
  int DirectionAt(int x, int y) const {
    int twice = 2 * slope;
    for (const Point& core : cores) twice += Direction(x - core.x, y - core.y);
    for (const Point& delta : deltas) {
      twice -= Direction(x - delta.x, y - delta.y);
    }
    return WholeTurn(twice) / 2;
  }
};

Ridges DrawRidges(Random* random) {
  constexpr int kArches = 8;  // percent of fingers
  constexpr int kWhorls = 30;
  Ridges ridges;
  ridges.slope = random->Jitter(12);
  const int kind = random->Between(1, 100);
  const Point core{random->Jitter(12), 10 + random->Jitter(15)};
  const int side = random->Chance(50) ? 1 : -1;
  const Point delta{side * random->Between(45, 75), -70 + random->Jitter(15)};
  if (kind <= kArches) {
    ridges.cores = {core};
    ridges.deltas = {{core.x + random->Jitter(4), core.y - 30}};
  } else if (kind <= kArches + kWhorls) {
    ridges.cores = {
        core, {core.x + random->Jitter(8), core.y - random->Between(12, 30)}};
    ridges.deltas = {delta, {-delta.x + random->Jitter(10), delta.y}};
  } else {
    ridges.cores = {core};
    ridges.deltas = {delta};
  }
  return ridges;
}

bool IsClear(const std::vector<Minutia>& minutiae, int x, int y) {
  return std::none_of(minutiae.begin(), minutiae.end(), [&](const Minutia& m) {
    const int dx = m.x - x;
    const int dy = m.y - y;
    return dx * dx + dy * dy < kSpacing * kSpacing;
  });
}

// A place in the ellipse that keeps its distance from the others.
Point DrawPlace(const std::vector<Minutia>& minutiae, int half_width,
                int half_height, Random* random) {
  while (true) {
    const int x = random->Between(-half_width, half_width);
    const int y = random->Between(-half_height, half_height);
    if (InEllipse(x, y, half_width, half_height) && IsClear(minutiae, x, y)) {
      return {x, y};
    }
  }
}

// A ridge ends, or forks, towards either side.
int DrawDirection(const Ridges& ridges, Point place, Random* random) {
  const int side = random->Chance(50) ? 180 : 0;
  return WholeTurn(ridges.DirectionAt(place.x, place.y) + side +
                   random->Jitter(12));
}

struct Finger {
  Ridges ridges;
  std::vector<Minutia> minutiae;
};

Finger DrawFinger(uint32_t number) {
  Random random(uint64_t{number} << 32);
  Finger finger;
  finger.ridges = DrawRidges(&random);
  const int count = kMinutiae + random.Jitter(4);
  for (int i = 0; i < count; ++i) {
    const Point place =
        DrawPlace(finger.minutiae, kHalfWidth, kHalfHeight, &random);
    Minutia minutia;
    minutia.x = place.x;
    minutia.y = place.y;
    minutia.direction = DrawDirection(finger.ridges, place, &random);
    minutia.weight = random.Between(45, 95);
    minutia.bifurcation = random.Chance(40);
    minutia.auxiliary = random.Between(0, 100);
    finger.minutiae.push_back(minutia);
  }
  return finger;
}

// How one press turns, stretches and shifts the skin.
struct Pose {
  int turn, stretch_x, stretch_y, shear, shift_x, shift_y;
};

Pose DrawPose(Random* random) {
  return {random->Jitter(kTurn),    random->Jitter(kStretch),
          random->Jitter(kStretch), random->Jitter(kStretch),
          random->Jitter(kShiftX),  random->Jitter(kShiftY)};
}

void Place(const Pose& pose, Minutia* m) {
  const int x = m->x + (m->x * pose.stretch_x + m->y * pose.shear) / 100;
  const int y = m->y + m->y * pose.stretch_y / 100;
  m->x = (x * Cosine(pose.turn) - y * Sine(pose.turn)) / kUnit + pose.shift_x;
  m->y = (x * Sine(pose.turn) + y * Cosine(pose.turn)) / kUnit + pose.shift_y;
  m->direction = WholeTurn(m->direction + pose.turn);
}

int Percent(int value) { return std::clamp(value, 0, 100); }

void Blur(Minutia* m, Random* random) {
  m->x += random->Jitter(kPlaceJitter);
  m->y += random->Jitter(kPlaceJitter);
  m->direction = WholeTurn(m->direction + random->Jitter(kDirectionJitter));
  m->weight = Percent(m->weight + random->Jitter(kWeightJitter));
  m->auxiliary = Percent(m->auxiliary + random->Jitter(kWeightJitter));
  if (random->Chance(kWrongKind)) m->bifurcation = !m->bifurcation;
}

bool IsPressed(const Minutia& m) {
  return InEllipse(m.x, m.y, kPressHalfWidth, kPressHalfHeight);
}

Minutia DrawSpurious(const std::vector<Minutia>& seen, const Pose& pose,
                     const Ridges& ridges, Random* random) {
  const Point place =
      DrawPlace(seen, kPressHalfWidth, kPressHalfHeight, random);
  Minutia m;
  m.x = place.x;
  m.y = place.y;
  m.direction = WholeTurn(DrawDirection(ridges, place, random) + pose.turn);
  m.weight = random->Between(20, 60);
  m.bifurcation = random->Chance(40);
  m.auxiliary = random->Between(0, 100);
  return m;
}

std::vector<Minutia> Press(const Finger& finger, Random* random) {
  const Pose pose = DrawPose(random);
  std::vector<Minutia> seen;
  for (Minutia m : finger.minutiae) {
    Place(pose, &m);
    Blur(&m, random);
    if (!random->Chance(kMissed) && IsPressed(m)) seen.push_back(m);
  }
  for (int left = random->Between(0, kMostSpurious); left > 0; --left) {
    seen.push_back(DrawSpurious(seen, pose, finger.ridges, random));
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
  for (const int byte :
       {kCentre + m.x, kCentre - m.y, word & 0xFF, word >> 8, kind}) {
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
              return a.y != b.y ? a.y > b.y : a.x < b.x;
            });
  Bytes record = {kFormatTag, kPlainHeader,
                  static_cast<uint8_t>(minutiae.size())};
  for (const Minutia& m : minutiae) AppendMinutia(m, &record);
  return record;
}

}  // namespace corvex::vreader
