#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "mv_base/base64.h"
#include "mv_base/crc32.h"
#include "mv_base/hex.h"
#include "mv_base/record_kind.h"

namespace {

const uint8_t* Bytes(const std::string& text) {
  return reinterpret_cast<const uint8_t*>(text.data());
}

std::string Decoded(const std::string& text) {
  uint8_t out[64];
  const int32_t n =
      DecodeB64(out, text.data(), static_cast<int32_t>(text.size()));
  return {reinterpret_cast<char*>(out), static_cast<size_t>(n)};
}

TEST(Base64, EncodesEveryRestOfAGroup) {
  const struct {
    const char* in;
    const char* out;
  } kCases[] = {{"", ""},
                {"f", "Zg=="},
                {"fo", "Zm8="},
                {"foo", "Zm9v"},
                {"foob", "Zm9vYg=="},
                {"fooba", "Zm9vYmE="},
                {"foobar", "Zm9vYmFy"}};
  for (const auto& c : kCases) {
    char out[16];
    std::memset(out, '#', sizeof out);
    const auto n = static_cast<int32_t>(std::strlen(c.in));
    EXPECT_EQ(static_cast<int32_t>(std::strlen(c.out)),
              EncodeB64(out, Bytes(c.in), n));
    EXPECT_STREQ(c.out, out);
    EXPECT_EQ('#', out[std::strlen(c.out) + 1]);
  }
}

TEST(Base64, AnInvalidCharacterEndsTheResultSilently) {
  EXPECT_EQ("foobar", Decoded("Zm9vYmFy"));
  EXPECT_EQ("foob", Decoded("Zm9vYg=="));
  EXPECT_EQ("foo", Decoded("Zm9vYm"));          // rest below four
  EXPECT_EQ("foob", Decoded("Zm9vYm Fy"));      // a blank
  EXPECT_EQ("foo", Decoded("Zm9v\nYmFyYmFy"));  // nothing after a stop
  EXPECT_EQ("foo", Decoded("Zm9vY===Zm9v"));    // one value gives no byte
  EXPECT_EQ("", Decoded("Zm9"));
}

TEST(Base64, EveryByteStringComesBack) {
  std::mt19937 random(1);
  for (int32_t n = 0; n <= 1024; n += 1 + n / 50) {
    std::string in(static_cast<size_t>(n), '\0');
    for (char& c : in) c = static_cast<char>(random());
    std::string text(static_cast<size_t>(Base64Length(n)) + 1, '#');
    std::string out(static_cast<size_t>(n) + 3, '#');
    ASSERT_EQ(Base64Length(n), CodeB64(kEncode, text.data(), in.data(), n));
    ASSERT_EQ(n, CodeB64(kDecode, out.data(), text.data(), Base64Length(n)));
    ASSERT_EQ(in, out.substr(0, in.size()));
  }
}

TEST(Base64, RefusesBadArgumentsAndAnswersSizeQuestions) {
  char out[8];
  EXPECT_EQ(-3, CodeB64(kEncode, out, nullptr, 1));
  EXPECT_EQ(-3, CodeB64(kEncode, out, "foo", -1));
  EXPECT_EQ(-3, CodeB64(kDecode, out, nullptr, 4));
  EXPECT_EQ(-3, EncodeB64(nullptr, Bytes("foo"), 3));
  EXPECT_EQ(-3, DecodeB64(nullptr, "Zm9v", 4));
  EXPECT_EQ(5, CodeB64(kEncode, nullptr, "foo", 3));
  EXPECT_EQ(6, CodeB64(kDecode, nullptr, "Zm9vYmFy", 8));
  EXPECT_EQ(-3, CodeB64(kEncode, nullptr, "foo", -1));
}

TEST(Hex, WritesUpperCaseAndReadsBoth) {
  char text[5] = "####";
  Bin2Hex(text, Bytes("\x7E\x0A"), 2);
  EXPECT_STREQ("7E0A", text);
  for (const char* in : {"7E0A", "7e0a", "7e0aF"}) {
    uint8_t out[3] = {1, 1, 1};
    Hex2Bin(out, in, static_cast<int32_t>(std::strlen(in)));
    EXPECT_EQ(0x7E, out[0]);
    EXPECT_EQ(0x0A, out[1]);
    EXPECT_EQ(1, out[2]);
  }
  uint8_t zero = 1;
  Hex2Bin(&zero, "ZZ", 2);
  EXPECT_EQ(0, zero);
  EXPECT_EQ('0', _GetHex(16));
}

TEST(Crc32, MatchesThePublishedCheckValue) {
  EXPECT_EQ(0xCBF43926u, GenerateCRC32(Bytes("123456789"), 9));
  EXPECT_EQ(0u, GenerateCRC32(Bytes(""), 0));
  EXPECT_EQ(0u, GenerateCRC32(nullptr, 9));
  EXPECT_EQ(0xD202EF8Du, CreateMacCode(Bytes(std::string(1, '\0')), 1));
}

TEST(RecordKind, OnlyFiveHeadersAreDualFeature) {
  for (int header = 0; header < 256; ++header) {
    const uint8_t record[] = {0x12, static_cast<uint8_t>(header)};
    const int32_t expected = header == 0x88                     ? 2
                             : header >= 0x80 && header <= 0x83 ? 3
                                                                : -1;
    EXPECT_EQ(expected, cx_chkmut(record)) << header;
  }
  const uint8_t other_tag[] = {0x13, 0x88};
  EXPECT_EQ(-1, cx_chkmut(other_tag));
  EXPECT_EQ(-3, cx_chkmut(nullptr));
}

}  // namespace
