#include "virtual_reader/record_file.h"

#include <map>
#include <optional>

#include "virtual_reader/text.h"

namespace corvex::vreader {
namespace {

constexpr size_t kMaxRecord = 1024;  // what a reply can carry

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

class Parser {
 public:
  RecordFile Parse(std::string_view text) {
    int number = 0;
    for (const std::string_view line : Split(text, '\n')) {
      ++number;
      const std::string problem = ParseLine(Trim(line));
      if (problem.empty()) continue;
      file_.errors.push_back("line " + std::to_string(number) + ": " + problem);
    }
    if (finger_count_ == 0) file_.errors.push_back("holds no record");
    return std::move(file_);
  }

 private:
  // Returns what is wrong.
  std::string ParseLine(std::string_view line) {
    if (line.empty() || line[0] == '#') return "";
    const auto columns = Split(line, '\t');
    if (columns.size() != 1 && columns.size() != 4) {
      return "expected one column or four, not " +
             std::to_string(columns.size());
    }
    auto record = FromHex(columns.back());
    if (!record) record = FromBase64(columns.back());
    if (!record) return "the record is neither hexadecimal nor Base64 text";
    if (record->size() > kMaxRecord) {
      return "a record of " + std::to_string(record->size()) +
             " bytes, more than " + std::to_string(kMaxRecord);
    }
    if (columns.size() == 1) {
      file_.book.Add(std::to_string(++finger_count_), 1, std::move(*record));
      return "";
    }
    const auto impression = ParseNumber(columns[2]);
    if (!impression || *impression == 0 || *impression > kMaxImpression) {
      return "'" + std::string(columns[2]) + "' is no impression";
    }
    Add(std::string(columns[0]) + "/" + std::string(columns[1]),
        static_cast<int>(*impression), *record);
    return "";
  }

  void Add(const std::string& name, int impression, const Bytes& record) {
    std::string& number = numbers_[name];
    if (number.empty()) number = std::to_string(++finger_count_);
    file_.book.Add(number, impression, record);
    file_.book.Add(name, impression, record);
  }

  static constexpr uint32_t kMaxImpression = 1000000;
  RecordFile file_;
  std::map<std::string, std::string> numbers_;  // of named fingers
  int finger_count_ = 0;
};

}  // namespace

RecordFile ParseRecords(std::string_view text) { return Parser().Parse(text); }

}  // namespace corvex::vreader
