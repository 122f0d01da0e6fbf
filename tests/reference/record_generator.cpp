#include "reference/record_generator.h"

#include <algorithm>
#include <cmath>

namespace reference {

// Not a standard distribution: those differ from library to library.
int32_t RecordGenerator::Below(int32_t limit) {
  return static_cast<int32_t>(random_() % static_cast<uint32_t>(limit));
}

int32_t RecordGenerator::Around(int32_t most) {
  return Below(2 * most + 1) - most;
}

Entry RecordGenerator::AnyEntry() {
  return {Below(256), Below(256), Below(360), Below(101), 1 + Below(2)};
}

Print RecordGenerator::AnyPrint() {
  static constexpr int32_t kCounts[] = {3, 12, 20, 30, 50};
  const int32_t most = kCounts[Below(5)];
  const int32_t count = OneIn(2) ? most : Below(most + 1);
  Print print;
  for (int32_t i = 0; i < count; ++i) print.push_back(AnyEntry());
  return print;
}

// Many sticks of the same length, or in nearly the same direction.
Print RecordGenerator::Lattice() {
  const int32_t columns = OneIn(2) ? 1 : 5 + Below(6);
  const int32_t step_x = 5 + Below(32);
  const int32_t step_y = columns == 1 ? 1 + Below(5) : 5 + Below(40);
  const int32_t slope = columns == 1 ? Below(5) : 0;
  const int32_t count = 20 + Below(31);
  const bool lies = OneIn(2);
  Print print;
  for (int32_t i = 0; i < count; ++i) {
    Entry entry = AnyEntry();
    entry.x = std::min(i % columns * step_x + i * slope + Below(2), 255);
    entry.y = std::min(i / columns * step_y, 255);
    if (lies) std::swap(entry.x, entry.y);
    print.push_back(entry);
  }
  return print;
}

// Fewer values than a field may have.
void RecordGenerator::Restrict(Print* print) {
  const int32_t directions = OneIn(2) ? 360 : 1 + Below(4);
  const int32_t turn = directions == 360 ? 1 : 180 / (1 + Below(3));
  const int32_t offset = Below(3);
  const bool one_weight = OneIn(2);
  const bool one_kind = OneIn(3);
  for (Entry& entry : *print) {
    entry.direction = (entry.direction % directions * turn + offset) % 360;
    if (one_weight) entry.weight = 50;
    if (one_kind) entry.kind = 1;
  }
}

Print RecordGenerator::Pressed(const Print& print, int32_t max_turn,
                               int32_t max_jitter) {
  const int32_t turn = Around(max_turn);
  const double sine = std::sin(turn * 3.14159265358979 / 180);
  const double cosine = std::cos(turn * 3.14159265358979 / 180);
  const int32_t x = 128 + Around(15);
  const int32_t y = 128 + Around(15);
  Print pressed;
  for (Entry entry : print) {
    if (OneIn(8)) {
      if (OneIn(2)) pressed.push_back(AnyEntry());
      continue;
    }
    const double dx = entry.x - 128;
    const double dy = entry.y - 128;
    entry.x =
        x + static_cast<int32_t>(cosine * dx + sine * dy) + Around(max_jitter);
    entry.y =
        y + static_cast<int32_t>(cosine * dy - sine * dx) + Around(max_jitter);
    entry.direction = (entry.direction + turn + Around(max_jitter) + 720) % 360;
    entry.weight = std::clamp(entry.weight + 4 * Around(max_jitter), 0, 100);
    if (OneIn(16)) entry.kind = 3 - entry.kind;
    if (((entry.x | entry.y) & ~255) == 0) pressed.push_back(entry);
  }
  return pressed;
}

Record ToRecord(const Print& print) {
  Record record = {0x12, 0x84, static_cast<uint8_t>(print.size())};
  for (const Entry& entry : print) {
    const int32_t word = entry.direction | entry.weight << 9;
    for (const int32_t byte : {entry.x, entry.y, word & 0xFF, word >> 8,
                               entry.kind == 2 ? 0x80 : 0}) {
      record.push_back(static_cast<uint8_t>(byte));
    }
  }
  return record;
}

void RecordGenerator::MakePair() {
  const bool regular = OneIn(4);
  first_ = regular ? Lattice() : AnyPrint();
  if (OneIn(3)) Restrict(&first_);
  second_ = first_;
  switch (Below(6)) {
    case 0:
      break;
    case 1:
    case 2:
      second_ = Pressed(first_, 180, Below(4));
      break;
    case 3:
      second_ = Pressed(first_, 10, Below(2));
      break;
    default:
      second_ = regular && OneIn(2) ? Lattice() : AnyPrint();
      if (OneIn(4)) Restrict(&second_);
  }
  if (OneIn(16)) std::shuffle(second_.begin(), second_.end(), random_);
}

std::pair<Record, Record> RecordGenerator::NextPair() {
  int32_t Entry::*const kFields[] = {&Entry::x, &Entry::y, &Entry::direction,
                                     &Entry::weight, &Entry::kind};
  Print& changed = OneIn(2) ? first_ : second_;
  if (changed.empty() || !OneIn(4)) {
    MakePair();
  } else {
    const auto field = kFields[Below(5)];
    changed[random_() % changed.size()].*field = AnyEntry().*field;
  }
  return {ToRecord(first_), ToRecord(second_)};
}

}  // namespace reference
