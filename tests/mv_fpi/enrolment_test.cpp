#include <cstring>

#include "call_fixture.h"
#include "mv_base/base64.h"

namespace {

using support::Bytes;

class EnrolmentTest : public CallTest {
 protected:
  EnrolmentTest() {
    std::memset(template_, '#', sizeof template_);
    std::memset(message_, '#', sizeof message_);
    message_[sizeof message_ - 1] = '\0';
  }

  int Enrol(int timeout_s = 20) {
    return FG_GetTemplate(Port(), "", 9600, timeout_s, template_, &length_,
                          message_);
  }

  // These three, one after the other.
  void PressInTurn(const Bytes& first, const Bytes& second,
                   const Bytes& third) {
    reader_.AddRecord("f", 1, first);
    reader_.AddRecord("f", 2, second);
    reader_.AddRecord("f", 3, third);
    reader_.Run(
        "press f 1; wait-for captures 1; press f 2; wait-for captures 1;"
        "press f 3");
  }

  void ExpectNoTemplate() const {
    EXPECT_EQ('#', template_[0]);
    EXPECT_EQ(77, length_);
  }

  // A pair of generated records with this score, from the golden table.
  static std::pair<Bytes, Bytes> PairScoring(const std::string& score) {
    for (const auto& row : support::ReadTestData("golden_match.tsv")) {
      const Bytes first = support::FromHex(row[2]);
      const Bytes second = support::FromHex(row[3]);
      const bool plain = first[1] < 0x80 && second[1] < 0x80;
      if (row[0] == score && plain) return {first, second};
    }
    ADD_FAILURE() << "no pair scores " << score;
    return {};
  }

  char template_[1400];
  int length_ = 77;
  char message_[40];
};

TEST_F(EnrolmentTest, ThreePressesBecomeTheRicherRecordOfTheBestPair) {
  const Bytes richer = Record(31);
  PressInTurn(Record(30), richer, Record(30));
  EXPECT_EQ(0, Enrol());
  EXPECT_STREQ("合成指纹模板成功", message_);
  uint8_t decoded[1024];
  ASSERT_EQ(length_, static_cast<int>(std::strlen(template_)));
  ASSERT_EQ(158, DecodeB64(decoded, template_, length_));
  EXPECT_EQ(3, reader_.Beeps());
  EXPECT_EQ(3, reader_.Counts().captures);
  EXPECT_EQ(-1, reader_.Speed()) << "enrolment sends no speed";
  EXPECT_TRUE(Logged("FG_GetTemplate 非双特征"));
  EXPECT_NE(std::string::npos, support::DayLog().find(" idx = [0] len = ["));
}

TEST_F(EnrolmentTest, AFingerThatStaysIsCapturedThreeTimes) {
  const Bytes record = Record(30);
  reader_.Press(record);
  EXPECT_EQ(0, Enrol());
  EXPECT_EQ(0, FG_FpMatch(template_, template_, 5));
}

TEST_F(EnrolmentTest, TheScoreMustExceed35) {
  const auto low = PairScoring("35");
  PressInTurn(low.first, low.first, low.second);
  EXPECT_EQ(-99, Enrol());
  EXPECT_STREQ("合成指纹模板失败", message_);
  EXPECT_TRUE(Logged("FG_GetTemplate 合成指纹模板失败[36][35]"));
  ExpectNoTemplate();
}

TEST_F(EnrolmentTest, AScoreOf36IsEnough) {
  const auto enough = PairScoring("36");
  PressInTurn(enough.first, enough.first, enough.second);
  EXPECT_EQ(0, Enrol());
}

TEST_F(EnrolmentTest, ARecordThatIsNoneFailsTheSynthesis) {
  PressInTurn(Record(30), Bytes(16, 0x12), Record(30));
  EXPECT_EQ(-99, Enrol());
  EXPECT_TRUE(Logged("FG_GetTemplate 合成指纹模板失败[36][-110]"));
  ExpectNoTemplate();
}

TEST_F(EnrolmentTest, OneDualFeaturePressNeedsTheAlgorithmLibrary) {
  Bytes dual = Record(30);
  dual[1] = 0x83;
  PressInTurn(Record(30), Record(30), dual);
  EXPECT_EQ(-98, Enrol());
  EXPECT_EQ('#', message_[0]);
  ExpectNoTemplate();
  EXPECT_TRUE(Logged("FG_GetTemplate 第三枚特征双特征"));
  EXPECT_TRUE(Logged("FG_GetTemplate 加载动态库失败[-98]"));
}

TEST_F(EnrolmentTest, ZeroSecondsExpireBeforeTheFirstProbe) {
  EXPECT_EQ(-2, Enrol(0));
  EXPECT_STREQ("采集指纹模板超时", message_);
  EXPECT_EQ(0, reader_.Counts().probes);
}

TEST_F(EnrolmentTest, OneTimeoutCoversAllThreePresses) {
  reader_.AddRecord("f", 1, Record(30));
  reader_.Run("press f 1; wait-for captures 2; lift");
  EXPECT_EQ(-2, Enrol(5));
  EXPECT_EQ(2, reader_.Counts().captures);
  ExpectNoTemplate();
}

TEST_F(EnrolmentTest, BadArgumentsTouchNothing) {
  EXPECT_EQ(-1, Enrol(-1));
  EXPECT_EQ(-1,
            FG_GetTemplate(Port(), "", 9600, 1, nullptr, &length_, message_));
  EXPECT_EQ(-1,
            FG_GetTemplate(Port(), "", 9600, 1, template_, nullptr, message_));
  EXPECT_EQ(-1,
            FG_GetTemplate(Port(), "", 9600, 1, template_, &length_, nullptr));
  EXPECT_EQ('#', message_[0]);
  ExpectNoTemplate();
  EXPECT_TRUE(reader_.Requests().empty());
}

TEST_F(EnrolmentTest, AFailureOfTheReaderEndsTheCall) {
  reader_.Run("status 2 on probe");
  EXPECT_EQ(-14, Enrol());
  EXPECT_EQ('#', message_[0]);
  reader_.Press(Record(30));
  reader_.Run("crc 0xDEADBEEF on capture");
  EXPECT_EQ(-8, Enrol());
  EXPECT_STREQ("采集指纹模板失败", message_);
  EXPECT_TRUE(Logged("FG_GetTemplate 采集指纹模板失败[-8]"));
  ExpectNoTemplate();
}

}  // namespace
