// Enrolment of dual-feature presses by the driver as it is shipped, with a
// stand-in for the algorithm library beside it.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "algorithm_double/driver_site.h"
#include "mv_base/base64.h"
#include "mv_fpi.h"
#include "support/tab_file.h"
#include "support/temp_file.h"
#include "virtual_reader/virtual_reader.h"

namespace {

using support::Bytes;

// A record of this header, and how the double writes it down.
Bytes Record(uint8_t header, size_t size = 20) {
  Bytes record(size, 0x55);
  record[0] = 0x12;
  record[1] = header;
  return record;
}
std::string Hex(const std::string& start, size_t size = 20) {
  std::string text = start;
  for (size_t i = 2; i < size; ++i) text += "55";
  return text;
}

const Bytes kPlain = Record(0x06);
const Bytes kDual = Record(0x83);

class LibraryEnrolment : public testing::Test {
 protected:
  // Loads the driver and presses these three, one after the other.
  void Prepare(const Bytes& first, const Bytes& second, const Bytes& third) {
    support::SwitchLogOn();
    site_.Load();
    reader_.AddRecord("f", 1, first);
    reader_.AddRecord("f", 2, second);
    reader_.AddRecord("f", 3, third);
    reader_.Run(
        "press f 1; wait-for captures 1; press f 2; wait-for captures 1;"
        "press f 3");
  }

  int Enrol() {
    const auto enrol = site_.Get<decltype(FG_GetTemplate)>("FG_GetTemplate");
    return enrol(reader_.PortName().c_str(), "", 9600, 30, template_, &length_,
                 message_);
  }

  void ExpectNoTemplate() const {
    EXPECT_STREQ("untouched", template_);
    EXPECT_EQ(77, length_);
  }

  static bool Logged(const std::string& text) {
    return support::DayLog().find("] FG_GetTemplate " + text + "\n") !=
           std::string::npos;
  }

  support::DriverSite site_{MV_DRIVER};
  corvex::vreader::VirtualReader reader_;
  char template_[FG_TEMPLATE_BYTES] = "untouched";
  int length_ = 77;
  char message_[FG_MESSAGE_BYTES] = "untouched";
};

TEST_F(LibraryEnrolment, OneDualPressSendsAllThreeInWideSlots) {
  site_.InstallDouble();
  site_.Script("synth 37\nbest 2\ntemplate 12830102030405");
  Prepare(kPlain, Record(0x06, 1000), kDual);
  EXPECT_EQ(0, Enrol());
  EXPECT_STREQ("EoMBAgMEBQ==", template_);
  EXPECT_EQ(12, length_);
  EXPECT_STREQ("合成指纹模板成功", message_);
  EXPECT_EQ(1, site_.CountCalls("OrvSynMinut " + Hex("1206") + " " +
                                Hex("1206", 1000) + " " + Hex("1283") +
                                " 3 1024 0 mine -> 37\n"));
  EXPECT_TRUE(Logged("第三枚特征双特征"));
  EXPECT_TRUE(Logged("最小分数[37] idx = [2] len = [7]"));
}

TEST_F(LibraryEnrolment, TheScoreMustExceed36) {
  site_.InstallDouble();
  site_.Script("synth 36");
  Prepare(kDual, kPlain, kPlain);
  EXPECT_EQ(-99, Enrol());
  EXPECT_STREQ("合成指纹模板失败", message_);
  EXPECT_TRUE(Logged("第一枚特征双特征"));
  EXPECT_TRUE(Logged("合成指纹模板失败[45][36]"));
  ExpectNoTemplate();
}

TEST_F(LibraryEnrolment, WithoutTheLibraryNothingIsTold) {
  Prepare(kPlain, kDual, kPlain);
  EXPECT_EQ(-98, Enrol());
  EXPECT_STREQ("untouched", message_);
  EXPECT_TRUE(Logged("第二枚特征双特征"));
  EXPECT_TRUE(Logged("加载动态库失败[-98]"));
  ExpectNoTemplate();
}

class LibraryTemplateLength
    : public LibraryEnrolment,
      public testing::WithParamInterface<std::pair<int, int>> {};

TEST_P(LibraryTemplateLength, IsRaisedOnlyBetween256And384) {
  const auto [reported, delivered] = GetParam();
  site_.InstallDouble();
  site_.Script("length " + std::to_string(reported));
  Prepare(kDual, kDual, kDual);
  EXPECT_EQ(0, Enrol());
  EXPECT_EQ(Base64Length(delivered), length_);
  EXPECT_EQ(static_cast<size_t>(length_), strlen(template_));
  uint8_t decoded[1024];
  EXPECT_EQ(delivered, DecodeB64(decoded, template_, length_));
}

INSTANTIATE_TEST_SUITE_P(
    Lengths, LibraryTemplateLength,
    testing::Values(std::pair(0, 0), std::pair(256, 256), std::pair(257, 384),
                    std::pair(300, 384), std::pair(383, 384),
                    std::pair(384, 384), std::pair(385, 385),
                    std::pair(1024, 1024)));

// A library's word about its own length is not taken for the buffer's.
class LibraryTemplateNonsense : public LibraryEnrolment,
                                public testing::WithParamInterface<int> {};

TEST_P(LibraryTemplateNonsense, IsAFailedSynthesis) {
  site_.InstallDouble();
  site_.Script("length " + std::to_string(GetParam()));
  Prepare(kDual, kDual, kDual);
  EXPECT_EQ(-99, Enrol());
  ExpectNoTemplate();
}

INSTANTIATE_TEST_SUITE_P(Lengths, LibraryTemplateNonsense,
                         testing::Values(-1, 1025, 2147483647));

}  // namespace
