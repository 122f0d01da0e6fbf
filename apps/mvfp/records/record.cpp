#include "records/record.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iostream>
#include <sstream>

#include "mv_base/base64.h"
#include "mv_base/hex.h"
#include "mv_base/record_kind.h"
#include "report.h"

namespace corvex::mvfp {
namespace {

// The lengths of text that a comparison accepts.
constexpr size_t kShortestText = 5;
constexpr size_t kLongestText = 1023;

std::string ByteAt(size_t offset) { return "byte " + std::to_string(offset); }

std::string CharacterAt(size_t index) {
  return "character " + std::to_string(index + 1);
}

std::string Over(const char* name, int value, int limit) {
  return std::string(name) + " " + std::to_string(value) + " is over " +
         std::to_string(limit);
}

// How many characters at the start are of the set.
size_t SpanOf(const std::string& text, const char* set) {
  return std::min(text.find_first_not_of(set), text.size());
}

void ReadHex(const std::string& text, Record* record) {
  const size_t digits = SpanOf(text, "0123456789abcdefABCDEF") / 2 * 2;
  const auto count = static_cast<int32_t>(digits / 2);
  record->bytes.resize(digits / 2);
  Hex2Bin(record->bytes.data(), text.data(), static_cast<int32_t>(digits));
  record->text.resize(static_cast<size_t>(Base64Length(count)) + 1);
  EncodeB64(record->text.data(), record->bytes.data(), count);
  record->text.pop_back();  // the terminator
  if (digits < text.size()) {
    record->Refuse(CharacterAt(digits), "not a pair of hexadecimal digits");
  }
}

// The driver's decoding never fails, it just ends early: says where.
void ReadBase64(const std::string& text, Record* record) {
  const size_t whole = text.size() / 4 * 4;
  record->text = text;
  record->bytes.resize(text.size());  // more than enough
  const int32_t count = DecodeB64(record->bytes.data(), text.data(),
                                  static_cast<int32_t>(text.size()));
  record->bytes.resize(static_cast<size_t>(std::max(0, count)));
  const size_t good = SpanOf(
      text, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
  const std::string rest = text.substr(good);
  if (good < whole && rest != "=" && rest != "==") {
    record->Refuse(CharacterAt(good), "not Base64");
  } else if (whole < text.size()) {
    record->Refuse(CharacterAt(whole), "an incomplete group of four");
  }
}

// A record's first byte is 18: Base64 begins with "E", hexadecimal with "12".
bool LooksLikeHex(const std::string& text) { return text.rfind("12", 0) == 0; }

void CheckTextLength(Record* record) {
  const size_t length = record->text.size();
  if (length >= kShortestText && length <= kLongestText) return;
  record->Note("text", std::to_string(length) + " characters: too " +
                           (length < kShortestText ? "short" : "long") +
                           " for a comparison (5 to 1023)");
}

// Those behind the end count as 0.
uint8_t ByteOr0(const Record& record, size_t offset) {
  return offset < record.bytes.size() ? record.bytes[offset] : uint8_t{0};
}

void ReadHead(Record* record) {
  const int tag = ByteOr0(*record, 0);
  if (tag != kFormatTag) {
    record->Refuse(ByteAt(0),
                   record->bytes.empty()
                       ? "there is no record"
                       : "format tag " + std::to_string(tag) + " is not 18");
  }
  record->header_class = ByteOr0(*record, 1);
  record->is_dual_feature =
      record->bytes.size() > 1 && cx_chkmut(record->bytes.data()) > 0;
  record->count = ByteOr0(*record, 2);
}

void CheckCount(Record* record) {
  const size_t size = record->bytes.size();
  const size_t expected =
      kRecordHeadBytes + kMinutiaBytes * static_cast<size_t>(record->count);
  if (record->count > kMaxMinutiae) {
    record->Refuse(ByteAt(2), Over("count", record->count, kMaxMinutiae));
  } else if (size < expected) {
    record->Refuse(ByteAt(size), "the record ends here, " +
                                     std::to_string(expected - size) +
                                     " bytes early");
  } else if (size > expected) {
    record->Refuse(ByteAt(expected),
                   std::to_string(size - expected) + " bytes too many");
  }
}

// The driver's own reader stops at the first fault; this one names them all.
void ReadMinutia(size_t index, Record* record) {
  const size_t at = kRecordHeadBytes + kMinutiaBytes * index;
  const int word = ByteOr0(*record, at + 2) | ByteOr0(*record, at + 3) << 8;
  const int last = ByteOr0(*record, at + 4);
  const int direction = word & 0x1FF;
  const int weight = word >> 9;
  const int auxiliary = last & 0x7F;
  record->minutiae.push_back({ByteOr0(*record, at), ByteOr0(*record, at + 1),
                              static_cast<int16_t>(direction),
                              static_cast<uint8_t>(weight),
                              static_cast<uint8_t>(last > 0x7F ? 2 : 1),
                              static_cast<uint8_t>(auxiliary), 0});
  const auto check = [&](const char* name, int value, int limit,
                         size_t offset) {
    if (value <= limit) return;
    record->Refuse("minutia " + std::to_string(index) + ", " + ByteAt(offset),
                   Over(name, value, limit));
  };
  check("direction", direction, kMaxDirectionDegrees, at + 2);
  check("weight", weight, kMaxWeight, at + 3);
  check("auxiliary value", auxiliary, kMaxAuxiliary, at + 4);
}

constexpr char kSources[] =
    "give a file that holds a record, - for input, or its text";

std::string Trimmed(const std::string& text) {
  constexpr char kBlanks[] = " \t\r\n";
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Mail and base64 break a long text into lines.
std::string Joined(const std::string& lines) {
  std::istringstream stream(lines);
  std::string text;
  for (std::string line; std::getline(stream, line);) text += Trimmed(line);
  return text;
}

std::string ReadFile(const std::string& path) {
  // Room for the longest text that a call can give, and for a sign of more.
  std::array<char, 4096> bytes;
  std::ifstream file(path);
  std::istream& in = path == "-" ? std::cin : file;
  in.read(bytes.data(), bytes.size());
  if (in.bad() || (path != "-" && !file.is_open())) {
    throw SystemFailure("read", path, kSources, kExitUsage);
  }
  return Joined({bytes.data(), static_cast<size_t>(in.gcount())});
}

Record Parse(const std::string& source, const std::string& text) {
  Record record;
  record.source = source;
  (LooksLikeHex(text) ? ReadHex : ReadBase64)(text, &record);
  ReadHead(&record);
  CheckTextLength(&record);
  if (ByteOr0(record, 0) != kFormatTag || record.is_dual_feature) return record;
  CheckCount(&record);
  for (int i = 0; i < std::min(record.count, kMaxMinutiae); ++i) {
    ReadMinutia(static_cast<size_t>(i), &record);
  }
  return record;
}

}  // namespace

bool IsValid(const Record& record) {
  return std::none_of(record.findings.begin(), record.findings.end(),
                      [](const Finding& finding) { return finding.fatal; });
}

std::string InWords(const Record& record, const Finding& finding) {
  return record.source + ": " + finding.where + ": " + finding.what;
}

Record LoadRecord(const std::string& argument) {
  const bool is_marked = argument.rfind('@', 0) == 0;
  const std::string path = is_marked ? argument.substr(1) : argument;
  if (path == "-") return Parse("standard input", ReadFile(path));
  if (is_marked || access(path.c_str(), F_OK) == 0) {
    return Parse(path, ReadFile(path));
  }
  if (LooksLikeHex(argument) || argument.rfind('E', 0) == 0) {
    return Parse("the record given", Trimmed(argument));
  }
  throw UsageFailure("there is no file \"" + argument + "\"", kSources);
}

Record LoadWholeRecord(const std::string& argument) {
  Record record = LoadRecord(argument);
  for (const Finding& finding : record.findings) {
    if (!finding.fatal) continue;
    throw Failure{InWords(record, finding), "look at it: mvfp inspect RECORD",
                  kExitNo};
  }
  return record;
}

}  // namespace corvex::mvfp
