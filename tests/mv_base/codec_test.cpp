#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "mv_base/base64.h"
#include "mv_base/crc32.h"
#include "mv_base/hex.h"
#include "mv_base/record_kind.h"
#include "support/tab_file.h"

namespace {

const uint8_t* Bytes(const std::string& text) {
  return reinterpret_cast<const uint8_t*>(text.data());
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

TEST(Base64, EveryRestOfAGroupComesBack) {
  const std::pair<const char*, const char*> kCases[] = {{"", ""},
                                                        {"f", "Zg=="},
                                                        {"fo", "Zm8="},
                                                        {"foo", "Zm9v"},
                                                        {"foob", "Zm9vYg=="},
                                                        {"fooba", "Zm9vYmE="},
                                                        {"foobar", "Zm9vYmFy"}};
  for (const auto& [bytes, text] : kCases) {
    EXPECT_EQ(text, Encoded(bytes));
    EXPECT_EQ(bytes, Decoded(text));
  }
}

TEST(Base64, TheAlphabetIsTheStandards) {
  const std::string alphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::string bytes = Decoded(alphabet);
  EXPECT_EQ(
      "00108310518720928B30D38F41149351559761969B71D79F8218A39259A7A29AABB2DBAF"
      "C31CB3D35DB7E39EBBF3DFBF",
      support::ToHex(Bytes(bytes), bytes.size()));
  EXPECT_EQ(alphabet, Encoded(bytes));
}

TEST(Base64, AnInvalidCharacterEndsTheResultSilently) {
  EXPECT_EQ("foo", Decoded("Zm9vYm"));          // rest below four
  EXPECT_EQ("foob", Decoded("Zm9vYm Fy"));      // a blank
  EXPECT_EQ("foo", Decoded("Zm9v\nYmFyYmFy"));  // nothing after a stop
  EXPECT_EQ("foo", Decoded("Zm9vY===Zm9v"));    // one value gives no byte
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

TEST(Hex, WhatIsNoDigitIsZero) {
  uint8_t out[3] = {1, 1, 1};
  Hex2Bin(out, "7eZZF", 5);
  EXPECT_EQ("7E0001", support::ToHex(out, 3));
  EXPECT_EQ('0', _GetHex(16));
}

TEST(Crc32, MatchesThePublishedCheckValue) {
  EXPECT_EQ(0xCBF43926u, GenerateCRC32(Bytes("123456789"), 9));
  EXPECT_EQ(0u, CreateMacCode(Bytes(""), 0));
  EXPECT_EQ(0u, GenerateCRC32(nullptr, 9));
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
