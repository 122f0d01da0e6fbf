// The diagnostic log is a file that others read: it tells what happened, never
// whose finger it was.
#include <cctype>
#include <set>

#include "call_fixture.h"
#include "mv_base/base64.h"
#include "mv_base/hex.h"

namespace {

using support::Bytes;

std::string UpperCase(std::string text) {
  for (char& c : text) {
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return text;
}

// Whether any so many characters on end of `secret` stand in `log`.
bool Shares(const std::string& log, const std::string& secret, size_t chars) {
  std::set<std::string> pieces;
  for (size_t at = 0; at + chars <= secret.size(); ++at) {
    pieces.insert(secret.substr(at, chars));
  }
  for (size_t at = 0; at + chars <= log.size(); ++at) {
    if (pieces.count(log.substr(at, chars)) > 0) return true;
  }
  return false;
}

class LogPrivacyTest : public CallTest {
 protected:
  void ExpectNoneOf(const Bytes& record) const {
    const auto bytes = static_cast<int32_t>(record.size());
    const std::string raw(record.begin(), record.end());
    std::string hex(2 * record.size(), '\0');
    Bin2Hex(hex.data(), record.data(), bytes);
    std::string base64(static_cast<size_t>(Base64Length(bytes)) + 1, '\0');
    EncodeB64(base64.data(), record.data(), bytes);
    base64.pop_back();
    const std::string log = support::DayLog();
    EXPECT_FALSE(Shares(log, raw, 4));
    EXPECT_FALSE(Shares(UpperCase(log), hex, 10));
    EXPECT_FALSE(Shares(log, base64, 8));
  }

  char feature_[FG_FEATURE_BYTES] = {};
  char template_[FG_TEMPLATE_BYTES] = {};
  int length_ = 0;
  char message_[FG_MESSAGE_BYTES] = {};
};

TEST_F(LogPrivacyTest, NoCallWritesARecordIntoTheLog) {
  const Bytes record = Record(30);
  reader_.Press(record);
  ASSERT_EQ(0,
            FG_GetFeature(Port(), "", 9600, 5, feature_, &length_, message_));
  ASSERT_EQ(
      0, FG_GetTemplate(Port(), "", 9600, 20, template_, &length_, message_));
  ASSERT_EQ(100, FG_FpMatch(template_, feature_, 0));
  EXPECT_TRUE(Logged("FG_GetTemplate 结束[0]\n"));
  ExpectNoneOf(record);
}

TEST_F(LogPrivacyTest, NorDoesOneThatFails) {
  const Bytes record = Record(30);
  reader_.Press(record);
  reader_.Run("crc 0xDEADBEEF on capture");
  ASSERT_EQ(
      -8, FG_GetTemplate(Port(), "", 9600, 20, template_, &length_, message_));
  ExpectNoneOf(record);
}

}  // namespace
