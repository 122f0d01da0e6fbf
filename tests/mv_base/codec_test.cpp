#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "mv_base/base64.h"
#include "mv_base/crc32.h"
#include "mv_base/record_kind.h"
#include "support/tab_file.h"

namespace {

const uint8_t* Bytes(const std::string& text) {
  return reinterpret_cast<const uint8_t*>(text.data());
}

// The numbers 0 to 63 in six bits each.
std::string Bits() {
  const support::Bytes bytes = support::FromHex(
      "00108310518720928B30D38F41149351559761969B71D79F8218A39259A7A29AABB2DBAF"
      "C31CB3D35DB7E39EBBF3DFBF");
  return {bytes.begin(), bytes.end()};
}

std::string Encoded(const std::string& bytes) {
  char out[128];
  std::memset(out, '#', sizeof out);
  const int32_t length =
      CodeB64(kEncode, out, bytes.data(), static_cast<int32_t>(bytes.size()));
  EXPECT_EQ(static_cast<size_t>(length), strlen(out));
  return out;
}

std::string Decoded(const std::string& text) {
  char out[128];
  const int32_t length =
      CodeB64(kDecode, out, text.data(), static_cast<int32_t>(text.size()));
  return {out, static_cast<size_t>(length)};
}

TEST(Base64, EveryRestOfAGroupAndEveryDigitComesBack) {
  const std::string digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::pair<std::string, std::string> kCases[] = {
      {"", ""},        {"f", "Zg=="},        {"fo", "Zm8="},
      {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="},
      {Bits(), digits}};
  for (const auto& [bytes, text] : kCases) {
    EXPECT_EQ(text, Encoded(bytes));
    EXPECT_EQ(bytes, Decoded(text));
  }
}

TEST(Base64, AnInvalidCharacterEndsTheResultSilently) {
  EXPECT_EQ("foo", Decoded("Zm9vYm"));          // rest below four
  EXPECT_EQ("foob", Decoded("Zm9vYm Fy"));      // a blank
  EXPECT_EQ("foo", Decoded("Zm9v\nYmFyYmFy"));  // nothing after a stop
  EXPECT_EQ("foo", Decoded("Zm9vY===Zm9v"));    // one value gives no byte
}

TEST(Base64, ANullOutputAsksForTheSize) {
  EXPECT_EQ(5, CodeB64(kEncode, nullptr, "foo", 3));
  EXPECT_EQ(6, CodeB64(kDecode, nullptr, "Zm9vYmFy", 8));
  EXPECT_EQ(-3, CodeB64(kEncode, nullptr, "foo", -1));
}

// The standard's check value; frames are checked by the same sum.
TEST(Crc32, IsTheStandards) {
  EXPECT_EQ(0xCBF43926u, GenerateCRC32(Bytes("123456789"), 9));
}

TEST(RecordKind, OnlyFiveHeadersAreDualFeature) {
  for (int header = 0; header < 256; ++header) {
    const uint8_t record[] = {0x12, static_cast<uint8_t>(header)};
    const bool dual80 = header >= 0x80 && header <= 0x83;
    EXPECT_EQ(header == 0x88 ? 2 : dual80 ? 3 : -1, cx_chkmut(record));
  }
  EXPECT_EQ(-1, cx_chkmut(Bytes("\x13\x88")));
  EXPECT_EQ(-3, cx_chkmut(nullptr));
}

}  // namespace
