#include "record.h"

#include <algorithm>

#include "text_codec.h"

namespace corvex::mvfp {
namespace {

std::string ByteAt(size_t offset) { return "byte " + std::to_string(offset); }

std::string CharacterAt(size_t index) {
  return "character " + std::to_string(index + 1);
}

std::string Over(const char* name, int value, int limit) {
  return std::string(name) + " " + std::to_string(value) + " is over " +
         std::to_string(limit);
}

bool MarksDualFeature(int header_class) {
  return (header_class >= 128 && header_class <= 131) || header_class == 136;
}

bool LooksLikeHex(const std::string& text) { return text.rfind("12", 0) == 0; }

// The driver's decoding never fails, it just ends early: say where.
void CheckBase64(const Decoded& decoded, Record* record) {
  const size_t length = record->text.size();
  auto& findings = record->findings;
  if (decoded.stopped_at < length) {
    findings.push_back({false, CharacterAt(decoded.stopped_at),
                        "not Base64; the rest of the text is not read"});
  } else if (length % 4 != 0) {
    findings.push_back({false, CharacterAt(length - length % 4),
                        "an incomplete group of four; it is not read"});
  }
}

void CheckTextLength(Record* record) {
  const size_t length = record->text.size();
  const std::string has = std::to_string(length) + " characters";
  if (length < kShortestText) {
    record->findings.push_back(
        {false, "text", has + ": too short for a comparison (5 to 1023)"});
  } else if (length > kLongestText) {
    record->findings.push_back(
        {false, "text", has + ": too long for a comparison (5 to 1023)"});
  }
}

void ReadText(const std::string& text, Record* record) {
  if (LooksLikeHex(text)) {
    const Decoded decoded = DecodeHex(text);
    record->bytes = decoded.bytes;
    record->text = EncodeBase64(decoded.bytes);
    if (decoded.stopped_at < text.size()) {
      record->findings.push_back({true, CharacterAt(decoded.stopped_at),
                                  "not a pair of hexadecimal digits"});
    }
    return;
  }
  const Decoded decoded = DecodeBase64(text);
  record->bytes = decoded.bytes;
  record->text = text;
  CheckBase64(decoded, record);
}

int ByteOr0(const Record& record, size_t offset) {
  return offset < record.bytes.size() ? record.bytes[offset] : 0;
}

void ReadHead(Record* record) {
  const int tag = ByteOr0(*record, 0);
  if (tag != kRecordTag) {
    record->findings.push_back(
        {true, ByteAt(0),
         record->bytes.empty()
             ? "there is no record"
             : "format tag " + std::to_string(tag) + " is not 18"});
  }
  record->header_class = ByteOr0(*record, 1);
  record->is_dual_feature =
      tag == kRecordTag && MarksDualFeature(record->header_class);
  record->count = ByteOr0(*record, 2);
}

Minutia ReadMinutia(const Record& record, size_t offset) {
  const int word = ByteOr0(record, offset + 2) | ByteOr0(record, offset + 3)
                                                     << 8;
  const int last = ByteOr0(record, offset + 4);
  return {ByteOr0(record, offset),
          ByteOr0(record, offset + 1),
          word & 0x1FF,
          word >> 9,
          (last & 0x80) != 0 ? 2 : 1,
          last & 0x7F};
}

void CheckMinutia(const Minutia& minutia, size_t index, size_t offset,
                  std::vector<Finding>* findings) {
  struct Limit {
    const char* name;
    int value, limit;
    size_t offset;
  };
  for (const Limit& field :
       {Limit{"direction", minutia.direction, kMaxDirection, offset + 2},
        Limit{"weight", minutia.weight, kMaxWeight, offset + 3},
        Limit{"auxiliary value", minutia.auxiliary, kMaxAuxiliary,
              offset + 4}}) {
    if (field.value <= field.limit) continue;
    findings->push_back(
        {true, "minutia " + std::to_string(index) + ", " + ByteAt(field.offset),
         Over(field.name, field.value, field.limit)});
  }
}

void CheckCount(Record* record) {
  const size_t size = record->bytes.size();
  const size_t expected =
      kHeadBytes + kMinutiaBytes * static_cast<size_t>(record->count);
  if (record->count > kMaxMinutiae) {
    record->findings.push_back(
        {true, ByteAt(2), Over("count", record->count, kMaxMinutiae)});
  } else if (size < expected) {
    record->findings.push_back(
        {false, ByteAt(size),
         "the record ends here, " + std::to_string(expected - size) +
             " bytes early; the missing ones are read as 0"});
  } else if (size > expected) {
    record->findings.push_back({false, ByteAt(expected),
                                std::to_string(size - expected) +
                                    " bytes too many; they are not read"});
  }
}

void ReadMinutiae(Record* record) {
  const size_t count =
      static_cast<size_t>(std::min(record->count, kMaxMinutiae));
  for (size_t i = 0; i < count; ++i) {
    const size_t offset = kHeadBytes + kMinutiaBytes * i;
    const Minutia minutia = ReadMinutia(*record, offset);
    CheckMinutia(minutia, i, offset, &record->findings);
    record->minutiae.push_back(minutia);
  }
}

}  // namespace

bool Record::IsValid() const {
  return std::none_of(findings.begin(), findings.end(),
                      [](const Finding& finding) { return finding.fatal; });
}

Record ParseRecord(const std::string& text) {
  Record record;
  ReadText(text, &record);
  ReadHead(&record);
  CheckTextLength(&record);
  if (record.bytes.empty() || record.bytes[0] != kRecordTag) return record;
  if (record.is_dual_feature) return record;
  CheckCount(&record);
  ReadMinutiae(&record);
  return record;
}

}  // namespace corvex::mvfp
