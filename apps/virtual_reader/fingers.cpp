#include "virtual_reader/fingers.h"

#include <algorithm>
#include <stdexcept>

namespace corvex::vreader {
namespace {

constexpr size_t kMaxRecord = 1024;  // what a reply can carry
constexpr uint32_t kMaxImpression = 1000000;

// Four characters at a time, padded at the end; nothing else.
std::optional<Bytes> FromBase64(std::string_view text) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  if (text.size() % 4 != 0) return std::nullopt;
  Bytes bytes;
  const size_t padded = text.size();
  while (!text.empty() && text.back() == '=') text.remove_suffix(1);
  if (padded - text.size() > 2) return std::nullopt;
  uint32_t bits = 0;
  int bit_count = 0;
  for (const char c : text) {
    const size_t value = kAlphabet.find(c);
    if (value == std::string_view::npos) return std::nullopt;
    bits = bits << 6 | static_cast<uint32_t>(value);
    bit_count += 6;
    if (bit_count < 8) continue;
    bit_count -= 8;
    bytes.push_back(static_cast<uint8_t>(bits >> bit_count & 0xFF));
  }
  return bytes;
}

[[noreturn]] void Fail(const std::string& problem) {
  throw std::invalid_argument(problem);
}

Bytes ParseRecord(const std::string& text) {
  auto record = FromHex(text);
  if (!record) record = FromBase64(text);
  if (!record) Fail("the record is neither hexadecimal nor Base64 text");
  if (record->size() > kMaxRecord) {
    Fail("a record of " + std::to_string(record->size()) +
         " bytes, more than " + std::to_string(kMaxRecord));
  }
  return *record;
}

int ParseImpression(const std::string& text) {
  const auto impression = ParseNumber(text);
  if (!impression || *impression == 0 || *impression > kMaxImpression) {
    Fail("'" + text + "' is no impression");
  }
  return static_cast<int>(*impression);
}

struct Line {
  std::string name;  // of a finger with columns
  int impression = 1;
  Bytes record;
};

// Nothing for a line that holds no record and may.
std::optional<Line> ParseLine(std::string line) {
  constexpr char kBlanks[] = " \t\r";
  line.erase(0, line.find_first_not_of(kBlanks));
  line.erase(line.find_last_not_of(kBlanks) + 1);
  if (line.empty() || line[0] == '#') return std::nullopt;
  const auto columns = Split(line, '\t');
  if (columns.size() == 1) return Line{"", 1, ParseRecord(line)};
  if (columns.size() != 4) {
    Fail("expected one column or four, not " + std::to_string(columns.size()));
  }
  return Line{columns[0] + "/" + columns[1], ParseImpression(columns[2]),
              ParseRecord(columns[3])};
}

}  // namespace

void FingerBook::Add(const std::string& finger, int impression, Bytes record) {
  records_[finger][impression] = std::move(record);
}

std::optional<Bytes> FingerBook::Find(const std::string& finger,
                                      int impression) const {
  const auto found = records_.find(finger);
  if (found == records_.end()) {
    const auto number = ParseNumber(finger).value_or(0);
    if (!has_synthetic_ || number == 0) return std::nullopt;
    return SyntheticRecord(number,
                           static_cast<uint32_t>(std::max(impression, 1)));
  }
  const auto& impressions = found->second;
  const auto record =
      impression == 0 ? impressions.begin() : impressions.find(impression);
  if (record == impressions.end()) return std::nullopt;
  return record->second;
}

int FingerBook::Following(const std::string& finger, int impression) const {
  const auto found = records_.find(finger);
  if (found == records_.end()) return impression + 1;
  const auto& impressions = found->second;
  const auto next = impressions.upper_bound(impression);
  return (next != impressions.end() ? next : impressions.begin())->first;
}

RecordFile ParseRecords(std::string_view text) {
  RecordFile file;
  std::map<std::string, std::string> numbers;  // of fingers with columns
  int fingers = 0;
  int line_number = 0;
  for (const std::string& text_line : Split(text, '\n')) {
    ++line_number;
    try {
      const auto line = ParseLine(text_line);
      if (!line) continue;
      std::string number = line->name.empty() ? "" : numbers[line->name];
      if (number.empty()) number = std::to_string(++fingers);
      file.book.Add(number, line->impression, line->record);
      if (line->name.empty()) continue;
      file.book.Add(line->name, line->impression, line->record);
      numbers[line->name] = number;
    } catch (const std::invalid_argument& error) {
      file.errors.push_back("line " + std::to_string(line_number) + ": " +
                            error.what());
    }
  }
  if (fingers == 0) file.errors.push_back("holds no record");
  return file;
}

}  // namespace corvex::vreader
