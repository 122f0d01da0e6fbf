#include "virtual_reader/request.h"

#include <algorithm>

namespace corvex::vreader {
namespace {

constexpr size_t kHeaderChars = 13;  // mark, command, marker, length
constexpr size_t kCheckChars = 8;
constexpr uint32_t kMaxPayload = 1000;
constexpr std::string_view kSelectorLetters = "ABCK";
constexpr char kBeginnings[] = {kStartMark, kEscape, '\0'};

std::string Count(size_t n) {
  return std::to_string(n) + (n == 1 ? " character" : " characters");
}

size_t FrameChars(uint32_t payload_len) {
  if (payload_len == 0) return kHeaderChars;
  return kHeaderChars + payload_len * 2 + kCheckChars;
}

// The length field of a header whose digits are in order.
std::optional<uint32_t> PayloadLength(std::string_view frame) {
  const auto header = FromHex(frame.substr(1, kHeaderChars - 1));
  if (!header) return std::nullopt;
  return FromLittleEndian(*header, 2);
}

bool HasLowerCase(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return c >= 'a' && c <= 'f'; });
}

std::string WrongCheckValue(uint32_t received, uint32_t computed) {
  return "check value " + ToHex(LittleEndian(received)) + " instead of " +
         ToHex(LittleEndian(computed));
}

// Fills the fields of a frame of the right length.
void ReadFields(Request* request) {
  const auto bytes = FromHex(std::string_view(request->text).substr(1));
  if (!bytes) {
    request->problem = "a character that is not a hexadecimal digit";
    return;
  }
  request->command = (*bytes)[0];
  if (HasLowerCase(request->text)) {
    request->problem = "lower-case hexadecimal digits";
  }
  if ((*bytes)[1] != kFrameMarker) {
    request->problem = "frame marker " + ToHex({(*bytes)[1]}) + " instead of " +
                       ToHex({kFrameMarker});
  }
  const uint32_t length = FromLittleEndian(*bytes, 2);
  if (length == 0) return;
  request->payload.assign(bytes->begin() + 6, bytes->begin() + 6 + length);
  const uint32_t received = FromLittleEndian(*bytes, 6 + length);
  const uint32_t computed = CheckValue(request->payload);
  if (received != computed) {
    request->problem = WrongCheckValue(received, computed);
  }
}

std::string BrokeOff(std::string_view text) {
  std::string problem = "request broke off after " + Count(text.size());
  if (text[0] != kStartMark || text.size() < kHeaderChars) return problem;
  const auto length = PayloadLength(text);
  if (!length) return problem;
  problem += " of " + std::to_string(FrameChars(*length));
  if (text.size() == FrameChars(*length) - kCheckChars) {
    problem += ": the check value is missing";
  }
  return problem;
}

}  // namespace

Request RequestScanner::Take(Request::Kind kind, size_t length,
                             std::string problem) {
  Request request;
  request.kind = kind;
  request.text = pending_.substr(0, length);
  request.problem = std::move(problem);
  pending_.erase(0, length);
  return request;
}

std::optional<Request> RequestScanner::Next() {
  if (pending_.empty()) return std::nullopt;
  if (pending_[0] == kStartMark) return NextFrame();
  if (pending_[0] == kEscape) return NextSelector();
  return NextNoise();
}

Request RequestScanner::NextNoise() {
  const size_t end =
      std::min(pending_.find_first_of(kBeginnings), pending_.size());
  return Take(Request::Kind::kNoise, end, Count(end) + " outside any request");
}

// A request whose first `length` characters hold the beginning of another.
std::optional<Request> RequestScanner::BrokenOff(size_t length) {
  const size_t next = pending_.find_first_of(kBeginnings, 1);
  if (next >= length) return std::nullopt;
  return Take(Request::Kind::kNoise, next,
              BrokeOff(std::string_view(pending_).substr(0, next)));
}

std::optional<Request> RequestScanner::NextSelector() {
  constexpr size_t kSelectorChars = 3;
  if (auto broken = BrokenOff(kSelectorChars)) return broken;
  if (pending_.size() < kSelectorChars) return std::nullopt;
  if (pending_[1] != '%') {
    return Take(Request::Kind::kNoise, kSelectorChars,
                "an escape sequence that is no selector");
  }
  const bool known =
      kSelectorLetters.find(pending_[2]) != std::string_view::npos;
  return Take(Request::Kind::kSelector, kSelectorChars,
              known ? "" : "a selector letter that no switch box knows");
}

std::optional<Request> RequestScanner::NextFrame() {
  if (auto broken = BrokenOff(kHeaderChars)) return broken;
  if (pending_.size() < kHeaderChars) return std::nullopt;
  const auto length = PayloadLength(pending_);
  if (!length) {
    return Take(Request::Kind::kNoise, kHeaderChars,
                "a header character that is not a hexadecimal digit");
  }
  if (*length > kMaxPayload) {
    return Take(Request::Kind::kNoise, kHeaderChars,
                "a payload length of " + std::to_string(*length) +
                    ", more than " + std::to_string(kMaxPayload));
  }
  const size_t chars = FrameChars(*length);
  if (auto broken = BrokenOff(chars)) return broken;
  if (pending_.size() < chars) return std::nullopt;
  Request request = Take(Request::Kind::kFrame, chars, "");
  ReadFields(&request);
  return request;
}

std::optional<Request> RequestScanner::Incomplete() const {
  if (pending_.empty()) return std::nullopt;
  Request request;
  request.text = pending_;
  request.problem = BrokeOff(pending_);
  return request;
}

}  // namespace corvex::vreader
