// info, run as a program in a /dev where ports have numbers.
#include <gtest/gtest.h>

#include <string>

#include "support/private_dev.h"
#include "tool_run.h"
#include "virtual_reader/virtual_reader.h"

namespace {

class InfoCommand : public testing::Test {
 protected:
  InfoCommand() {
    support::CoverDev();
    support::LinkDevice("COM3", reader_.PortName());
  }

  corvex::vreader::VirtualReader reader_;
};

TEST_F(InfoCommand, PrintsWhatPeopleRead) {
  const Finished finished = RunTool({"info", "--port", "/dev/COM3"});
  EXPECT_EQ(0, finished.exit_code) << finished.err;
  EXPECT_EQ(
      "brand          KOVA\n"
      "model          MV5120\n"
      "firmware       v2.15\n"
      "serial number  CX1206A0001900004711000042240315\n"
      "produced       20240315\n"
      "library        2024.11.27\n",
      finished.out);
}

TEST_F(InfoCommand, WithJsonTheReplyIsPrintedAsItIs) {
  const Finished finished = RunTool({"info", "--json", "--port", "COM3"});
  EXPECT_EQ(0, finished.exit_code) << finished.err;
  EXPECT_EQ(0u, finished.out.find("{\n\t\"ErrorCode\":\t\"0\",\n"));
  EXPECT_NE(std::string::npos,
            finished.out.find("\t\"DeviceModel\":\t\"MV5120\"\n}\n"));
}

TEST_F(InfoCommand, AFailureIsTheReplyTooAndExplainedBeside) {
  const Finished finished = RunTool({"info", "--json", "--port", "COM4"});
  EXPECT_EQ(4, finished.exit_code);
  EXPECT_EQ(
      "{\n\t\"ErrorCode\":\t\"-3\",\n"
      "\t\"ErrorMessage\":\t\"获取设备信息失败\"\n}\n",
      finished.out);
  EXPECT_NE(std::string::npos, finished.err.find("(DEV_CommCall -3)"));
  EXPECT_NE(std::string::npos, finished.err.find("there is no /dev/COM4"));
}

TEST_F(InfoCommand, ASerialNumberOfAnyBytesIsNoReasonToFail) {
  reader_.Run("serial \xFF\xFE");
  const Finished finished = RunTool({"info", "--port", "COM3"});
  EXPECT_EQ(0, finished.exit_code) << finished.err;
  EXPECT_NE(std::string::npos,
            finished.out.find("\"DeviceSN\":\t\"\xFF\xFE\""));
}

TEST_F(InfoCommand, APortWithoutANumberIsExplained) {
  for (const char* port : {"pts/0", "COM", "COMX", "COM03", "COM3x",
                           "COM99999999999999999999", ""}) {
    const Finished finished = RunTool({"info", "--port", port});
    EXPECT_EQ(2, finished.exit_code) << port;
    EXPECT_NE(std::string::npos, finished.err.find("/dev/COM3")) << port;
  }
  EXPECT_EQ(0, reader_.Counts().requests);
}

}  // namespace
