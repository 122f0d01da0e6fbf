#include "mv_cmd/frame.h"

#include <cstring>
#include <memory>
#include <new>

#include "mv_base/crc32.h"
#include "mv_base/diagnostic_log.h"
#include "mv_base/hex.h"
#include "mv_base/wipe.h"
#include "mv_cmd/serial_port.h"

namespace {

constexpr int32_t kReplyHeaderChars = 1 + 2 * kReplyHeaderBytes;
constexpr int32_t kCrcChars = 2 * kCrcBytes;
constexpr int32_t kReceiveBytes = 10240;
static_assert(kReplyHeaderChars == 15);
static_assert(kReplyHeaderChars + 2 * kMaxReplyBytes + 1 <= kReceiveBytes);

void StoreLittleEndian(uint8_t* out, uint32_t value) {
  for (int i = 0; i < 4; ++i) out[i] = static_cast<uint8_t>(value >> (8 * i));
}

uint32_t LoadLittleEndian(const uint8_t* in) {
  uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value |= static_cast<uint32_t>(in[i]) << (8 * i);
  return value;
}

// What is received: the hex text and, decoded in place, the data.
struct ReceiveDeleter {
  void operator()(uint8_t* text) const {
    corvex::Wipe(text, kReceiveBytes);
    delete[] text;
  }
};
using ReceiveBuffer = std::unique_ptr<uint8_t[], ReceiveDeleter>;

// The text of a request.
struct Request {
  uint8_t text[1 + 2 * (kRequestHeaderBytes + kMaxPayloadBytes + kCrcBytes)];
  int32_t length = 0;

  Request(uint8_t cmd, const uint8_t* payload, int32_t payload_len) {
    uint8_t header[kRequestHeaderBytes] = {cmd, kFrameMarker};
    StoreLittleEndian(header + 2, static_cast<uint32_t>(payload_len));
    text[length++] = kStartMark;
    AppendHex(header, kRequestHeaderBytes);
    if (payload_len == 0) return;
    AppendHex(payload, payload_len);
    uint8_t crc[kCrcBytes];
    StoreLittleEndian(crc, CreateMacCode(payload, payload_len));
    AppendHex(crc, kCrcBytes);
  }

 private:
  void AppendHex(const uint8_t* bytes, int32_t n) {
    Bin2Hex(reinterpret_cast<char*>(text + length), bytes, n);
    length += 2 * n;
  }
};

struct ReplyHeader {
  char mark;
  uint8_t echo, status, marker;
  uint32_t data_len;
  // Zeros stand for what is missing, and in the length they look like a reply
  // without data.
  bool whole;

  ReplyHeader(const uint8_t* text, int32_t chars)
      : mark(static_cast<char>(text[0])), whole(chars == kReplyHeaderChars) {
    uint8_t bytes[kReplyHeaderBytes];
    Hex2Bin(bytes, reinterpret_cast<const char*>(text + 1),
            2 * kReplyHeaderBytes);
    echo = bytes[0];
    status = bytes[1];
    marker = bytes[2];
    data_len = LoadLittleEndian(bytes + 3);
  }
};

int32_t Send(int32_t fd, uint8_t cmd, const uint8_t* payload,
             int32_t payload_len) {
  const Request request(cmd, payload, payload_len);
  const int32_t sent = corvex_write_data(fd, request.text, request.length);
  if (sent > 0) return 0;
  MV_LOG("corvex_dev_io 下发数据失败[%d]\n", sent);
  return kDevWriteFailed;
}

// Returns the number of characters that came, 1 or more.
int32_t ReadHeader(int32_t fd, uint8_t cmd, uint8_t* text) {
  // The reader changes its speed while it answers this one.
  if (cmd == kCmdRate) {
    const int32_t chars = corvex_read_rate_data(fd, text, kReplyHeaderChars);
    if (chars >= 1) return chars;
    MV_LOG("corvex_dev_io 读取波特率前3字节指令包失败[-11]\n");
    return kDevReadFailed;
  }
  const int32_t chars = corvex_read_data(fd, text, kReplyHeaderChars);
  if (chars >= 1) return chars;
  MV_LOG("corvex_dev_io 读取前3字节指令包失败[-11]\n");
  return kDevReadFailed;
}

int32_t CheckHeader(const ReplyHeader& header, uint8_t cmd) {
  if (header.whole && header.mark == kStartMark && header.echo == cmd &&
      header.status == kStatusOk && header.marker == kFrameMarker) {
    return 0;
  }
  if (header.status == kStatusNoFinger && cmd == kCmdCheck) {
    MV_LOG("corvex_dev_io 未检测到手指按捺[%d]\n", header.status);
    return -static_cast<int32_t>(header.status);
  }
  MV_LOG("corvex_dev_io 校验数据的合法性失败[-14][%d]\n", header.status);
  return kDevBadHeader;
}

// The length that `bytes` take as Base64, also when no buffer would hold them.
int32_t EncodedLength(int32_t bytes) {
  return static_cast<int32_t>((int64_t{bytes} + 2) / 3 * 4);
}

// Reads the data and its CRC; leaves the decoded data at the start of `text`,
// which is all zeros.
int32_t ReadData(int32_t fd, uint8_t* text, int32_t data_len) {
  if (corvex_read_data(fd, text, 2 * data_len) < 1) {
    MV_LOG("corvex_dev_io 读取数据区的数据失败[-11]\n");
    return kDevReadFailed;
  }
  // In place: a byte is written behind the two characters it came from.
  Hex2Bin(text, reinterpret_cast<const char*>(text), 2 * data_len);
  uint8_t crc_text[kCrcChars + 1] = {};
  if (corvex_read_data(fd, crc_text, kCrcChars) < 1) {
    MV_LOG("corvex_dev_io 读取crc32校验数据失败[-11]\n");
    return kDevReadFailed;
  }
  uint8_t crc_bytes[kCrcBytes];
  Hex2Bin(crc_bytes, reinterpret_cast<const char*>(crc_text), kCrcChars);
  const uint32_t computed = CreateMacCode(text, data_len);
  const uint32_t received = LoadLittleEndian(crc_bytes);
  if (computed == received) return data_len;
  // Deliberate: the text's number is not the code.
  MV_LOG("corvex_dev_io crc32校验数据失败[-11][%u][%u]\n", computed, received);
  return kDevBadCrc;
}

int32_t Receive(int32_t fd, uint8_t cmd, uint8_t* text, uint8_t* out,
                uint32_t* out_len) {
  const int32_t chars = ReadHeader(fd, cmd, text);
  if (chars < 0) return chars;
  const ReplyHeader header(text, chars);
  int32_t result = CheckHeader(header, cmd);
  if (result < 0) return result;
  const auto data_len = static_cast<int32_t>(header.data_len);
  MV_LOG("corvex_dev_io 数据长度:[%d] 编码长度:[%d]\n", data_len,
         EncodedLength(data_len));
  if (data_len > kMaxReplyBytes) return kDevReplyTooLong;
  if (data_len <= 0) return 0;
  uint8_t* const data = text + kReplyHeaderChars;
  result = ReadData(fd, data, data_len);
  if (result < 0) return result;
  std::memcpy(out, data, header.data_len);
  *out_len = header.data_len;
  return result;
}

}  // namespace

int32_t corvex_dev_io(int32_t fd, uint8_t cmd, const uint8_t* payload,
                      int32_t payload_len, uint8_t* out, uint32_t* out_len) {
  if (payload_len < 0 || payload_len > kMaxPayloadBytes || payload == nullptr ||
      out == nullptr || out_len == nullptr) {
    // Deliberate: one text for a length and for a null pointer.
    MV_LOG("corvex_dev_io 下发数据超长[%d]\n", payload_len);
    return kDevBadArgument;
  }
  // Before anything is sent: a reply that nobody reads would be taken for the
  // next command's.
  const ReceiveBuffer text(new (std::nothrow) uint8_t[kReceiveBytes]());
  if (text == nullptr) {
    MV_LOG("corvex_dev_io 申请内存空间失败[-99]\n");
    return kDevNoMemory;
  }
  const int32_t sent = Send(fd, cmd, payload, payload_len);
  if (sent < 0) return sent;
  return Receive(fd, cmd, text.get(), out, out_len);
}
