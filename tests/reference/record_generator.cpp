#include "reference/record_generator.h"

#include <algorithm>
#include <cmath>

namespace reference {
namespace {

constexpr int32_t kMostMinutiae = 50;

}  // namespace

// Not a standard distribution: those differ from library to library.
int32_t RecordGenerator::Below(int32_t limit) {
  return static_cast<int32_t>(random_() % static_cast<uint32_t>(limit));
}

RecordGenerator::Entry RecordGenerator::AnyEntry() {
  return {Below(256), Below(256), Below(360), Below(101), 1 + Below(2)};
}

RecordGenerator::Entries RecordGenerator::AnyEntries() {
  static constexpr int32_t kCounts[] = {3, 12, 20, 30, kMostMinutiae};
  const int32_t most = kCounts[Below(5)];
  Entries entries;
  const int32_t count = OneIn(2) ? most : Below(most + 1);
  for (int32_t i = 0; i < count; ++i) entries.push_back(AnyEntry());
  return entries;
}

// Many sticks of the same length.
RecordGenerator::Entries RecordGenerator::Lattice() {
  const int32_t columns = 5 + Below(6);
  const int32_t step_x = 5 + Below(32);
  const int32_t step_y = 5 + Below(40);
  const int32_t count = 20 + Below(kMostMinutiae - 19);
  Entries entries;
  for (int32_t i = 0; i < count; ++i) {
    Entry entry = AnyEntry();
    entry.x = std::min(i % columns * step_x, 255);
    entry.y = std::min(i / columns * step_y, 255);
    entries.push_back(entry);
  }
  return entries;
}

// All sticks in one direction, or nearly so.
RecordGenerator::Entries RecordGenerator::Line() {
  const int32_t slope = Below(6);
  const int32_t step = 1 + Below(5);
  const int32_t count = 10 + Below(kMostMinutiae - 9);
  Entries entries;
  for (int32_t i = 0; i < count; ++i) {
    Entry entry = AnyEntry();
    entry.x = std::min(i * step, 255);
    entry.y = std::min(i * slope + Below(2), 255);
    if (slope == 5) std::swap(entry.x, entry.y);
    entries.push_back(entry);
  }
  return entries;
}

// Fewer values than a field may have.
void RecordGenerator::Restrict(Entries* entries) {
  const int32_t directions = OneIn(2) ? 360 : 1 + Below(4);
  const int32_t turn = directions == 360 ? 1 : 180 / (1 + Below(3));
  const int32_t offset = Below(3);
  const bool one_weight = OneIn(2);
  const bool one_kind = OneIn(3);
  const bool all_even = OneIn(8);
  for (Entry& entry : *entries) {
    entry.direction = (entry.direction % directions * turn + offset) % 360;
    if (one_weight) entry.weight = 50;
    if (one_kind) entry.kind = 1;
    if (all_even) entry.x &= ~1;
  }
}

RecordGenerator::Entries RecordGenerator::PressedEntries(const Entries& entries,
                                                         int32_t max_turn,
                                                         int32_t max_jitter) {
  const int32_t turn = Below(2 * max_turn + 1) - max_turn;
  const double angle = turn * 3.14159265358979 / 180;
  const int32_t move_x = Below(31) - 15;
  const int32_t move_y = Below(31) - 15;
  const auto jitter = [&] {
    return max_jitter == 0 ? 0 : Below(2 * max_jitter + 1) - max_jitter;
  };
  Entries pressed;
  for (const Entry& entry : entries) {
    if (OneIn(8)) {
      if (OneIn(2)) pressed.push_back(AnyEntry());
      continue;
    }
    const double dx = entry.x - 128;
    const double dy = entry.y - 128;
    Entry moved = entry;
    moved.x = 128 + move_x + jitter() +
              static_cast<int32_t>(std::cos(angle) * dx + std::sin(angle) * dy);
    moved.y = 128 + move_y + jitter() +
              static_cast<int32_t>(std::cos(angle) * dy - std::sin(angle) * dx);
    if (moved.x < 0 || moved.x > 255 || moved.y < 0 || moved.y > 255) continue;
    moved.direction = (entry.direction + turn + jitter() + 720) % 360;
    moved.weight = std::clamp(entry.weight + 4 * jitter(), 0, 100);
    if (OneIn(16)) moved.kind = 3 - entry.kind;
    pressed.push_back(moved);
  }
  return pressed;
}

Record RecordGenerator::ToRecord(const Entries& entries) {
  Record record = {0x12, 0x84, static_cast<uint8_t>(entries.size())};
  for (const Entry& entry : entries) {
    const int32_t word = entry.direction | entry.weight << 9;
    record.push_back(static_cast<uint8_t>(entry.x));
    record.push_back(static_cast<uint8_t>(entry.y));
    record.push_back(static_cast<uint8_t>(word & 0xFF));
    record.push_back(static_cast<uint8_t>(word >> 8));
    record.push_back(static_cast<uint8_t>(entry.kind == 2 ? 0x80 : 0));
  }
  return record;
}

RecordGenerator::Entries RecordGenerator::FromRecord(const Record& record) {
  Entries entries;
  for (size_t at = 3; at + 5 <= record.size(); at += 5) {
    const int32_t word = record[at + 2] | record[at + 3] << 8;
    entries.push_back({record[at], record[at + 1], word & 0x1FF, word >> 9,
                       record[at + 4] >= 0x80 ? 2 : 1});
  }
  return entries;
}

RecordPair RecordGenerator::NextPair() {
  const int32_t shape = Below(8);
  Entries first = shape == 0 ? Lattice() : shape == 1 ? Line() : AnyEntries();
  if (OneIn(3)) Restrict(&first);
  Entries second;
  switch (Below(6)) {
    case 0:
      second = first;
      break;
    case 1:
    case 2:
      second = PressedEntries(first, 180, Below(4));
      break;
    case 3:
      second = PressedEntries(first, 10, Below(2));
      break;
    case 4:
      second = shape == 0 ? Lattice() : AnyEntries();
      break;
    default:
      second = AnyEntries();
      if (OneIn(2)) Restrict(&second);
  }
  if (OneIn(16)) std::shuffle(second.begin(), second.end(), random_);
  return {ToRecord(first), ToRecord(second)};
}

Record RecordGenerator::NextFinger() {
  Entries entries;
  const int32_t count = 20 + Below(23);
  for (int32_t i = 0; i < count; ++i) {
    Entry entry = AnyEntry();
    entry.x = 53 + Below(150);
    entry.y = 38 + Below(180);
    // Ridges run much alike in one finger.
    entry.direction = (Below(90) + 45 + 180 * Below(2)) % 360;
    entry.weight = 30 + Below(40);
    entries.push_back(entry);
  }
  return ToRecord(entries);
}

Record RecordGenerator::Pressed(const Record& finger) {
  return ToRecord(PressedEntries(FromRecord(finger), 20, 2));
}

}  // namespace reference
