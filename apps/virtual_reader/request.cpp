#include "virtual_reader/request.h"

#include <algorithm>

namespace corvex::vreader {
namespace {

constexpr char kEscape = '\x1B';
constexpr char kBeginnings[] = {kStartMark, kEscape, '\0'};
constexpr size_t kSelectorChars = 3;
constexpr size_t kHeaderChars = 13;  // mark, command, marker, length
constexpr size_t kCheckChars = 8;
constexpr uint32_t kMaxPayload = 1000;

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

// What is wrong with the first characters of a request, which tell the rest.
std::string HeadProblem(std::string_view head) {
  if (head[0] == kEscape) {
    if (head[1] != '%') return "an escape sequence that is no selector";
    const bool known = std::string_view("ABCK").find(head[2]) != head.npos;
    return known ? "" : "a selector letter that no switch box knows";
  }
  const auto length = PayloadLength(head);
  if (!length) return "a header character that is not a hexadecimal digit";
  if (*length <= kMaxPayload) return "";
  return "a payload length of " + std::to_string(*length) + ", more than " +
         std::to_string(kMaxPayload);
}

// Fills the fields of a frame of the right length.
void ReadFields(Request* request) {
  const std::string& text = request->text;
  const auto bytes = FromHex(std::string_view(text).substr(1));
  if (!bytes) {
    request->problem = "a character that is not a hexadecimal digit";
    return;
  }
  request->command = (*bytes)[0];
  if (text.find_first_of("abcdef") != std::string::npos) {
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
    request->problem = "check value " + ToHex(LittleEndian(received)) +
                       " instead of " + ToHex(LittleEndian(computed));
  }
}

std::string Take(std::string* pending, size_t length) {
  std::string text = pending->substr(0, length);
  pending->erase(0, length);
  return text;
}

Request Noise(std::string text, std::string problem) {
  return {Request::Kind::kNoise, std::move(text), std::move(problem), 0, {}};
}

}  // namespace

Request BrokenOff(std::string text) {
  std::string problem = "request broke off after " + Count(text.size());
  const bool has_header = text[0] == kStartMark && text.size() >= kHeaderChars;
  const auto length = has_header ? PayloadLength(text) : std::nullopt;
  if (length) {
    const size_t whole = FrameChars(*length);
    problem += " of " + std::to_string(whole);
    if (text.size() == whole - kCheckChars) {
      problem += ": the check value is missing";
    }
  }
  return Noise(std::move(text), std::move(problem));
}

std::optional<Request> TakeRequest(std::string* pending) {
  if (pending->empty()) return std::nullopt;
  const size_t next = pending->find_first_of(kBeginnings, 1);
  const size_t present = std::min(next, pending->size());
  const bool is_frame = (*pending)[0] == kStartMark;
  if (!is_frame && (*pending)[0] != kEscape) {
    return Noise(Take(pending, present),
                 Count(present) + " outside any request");
  }
  size_t wanted = is_frame ? kHeaderChars : kSelectorChars;
  if (present >= wanted) {
    const std::string problem = HeadProblem(*pending);
    if (!problem.empty()) return Noise(Take(pending, wanted), problem);
    if (is_frame) wanted = FrameChars(*PayloadLength(*pending));
  }
  if (present < wanted) {
    if (next == std::string::npos) return std::nullopt;
    return BrokenOff(Take(pending, next));
  }
  Request request;
  request.kind = is_frame ? Request::Kind::kFrame : Request::Kind::kSelector;
  request.text = Take(pending, wanted);
  if (is_frame) ReadFields(&request);
  return request;
}

}  // namespace corvex::vreader
