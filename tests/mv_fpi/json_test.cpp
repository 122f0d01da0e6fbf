// DEV_CommCall: a host that speaks JSON and a reader on /dev/COM3.
#include <regex>

#include "call_fixture.h"
#include "mv_base/transcript.h"
#include "mv_fpi/json_gateway.h"
#include "support/private_dev.h"

namespace {

const std::string kForty = "1234567890123456789012345678901234567890";

std::string Request(const std::string& port) {
  return R"({"FunctionCode":"0001","RequestPort":")" + port + "\"}";
}

class JsonTest : public CallTest {
 protected:
  JsonTest() { support::LinkDevice("COM3", Port()); }

  int Ask(const std::string& request) {
    StartCall();
    unsigned int length = 0;
    char reserved = '#';
    const int code = DEV_CommCall(request.c_str(), &reserved, out_, &length);
    EXPECT_EQ('#', reserved);
    EXPECT_EQ(length + 1, Out().size());
    EXPECT_LE(Out().size(), size_t{DEV_REPLY_BYTES});
    return code;
  }

  void TellAnswer(const std::string& request) {
    const std::string code = std::to_string(Ask(request));
    Tell("? " + request + "\n" + code + " " + Out() + "\n");
    // What the two queries log is their own matter.
    for (const std::string& line : support::Split(TakenLog(), '\n')) {
      static const std::regex own("DEV_CommCall|CxSplitJson");
      if (std::regex_search(line, own)) Tell(line + "\n");
    }
  }
};

TEST_F(JsonTest, QuestionsAreAnsweredOrRefusedByTheirRules) {
  const std::string kRequests[] = {
      Request("3"),
      R"( { "x":[{}], "REQUESTPORT":"3","functioncode":"0001"} trailing)",
      R"({"FunctionCode":"0001","RequestPort":"3","RequestPort":"4"})",
      // Any function is answered, and another one noted.
      R"({"FunctionCode":"00019","RequestPort":"9"})",
      R"({"FunctionCode":"12345","RequestPort":"9"})",
      R"({"FunctionCode":"","RequestPort":"9"})",
      // A port is what strtol makes of its text.
      Request(" 7x"), Request("port"), Request("4294967304"),
      Request("99999999999999999999"), Request(kForty),
      // Fields that break their rule.
      R"({"FunctionCode":1,"RequestPort":"3"})", R"({"FunctionCode":"0001"})",
      R"({"FunctionCode":"0001","RequestPort":3})", Request(""),
      Request(kForty + "1"),
      // No request at all.
      "", "{", R"(["FunctionCode","RequestPort"])",
      R"({"FunctionCode":"\ud800","RequestPort":"3"})",
      R"({"RequestPort":"3"})"};
  for (const std::string& request : kRequests) TellAnswer(request);
}

TEST_F(JsonTest, TheReaderMaySayAnythingOfItself) {
  for (const std::string& serial :
       {std::string(), std::string("SN-20240315"),
        std::string("AB\0CD", 5) + std::string(27, '7'),
        std::string(32, '\x01'), std::string(26, 'y') + "\x01\x02/\"\\\n"}) {
    corvex::vreader::Options options;
    options.serial = serial;
    const corvex::vreader::VirtualReader reader(options);
    unlink("/dev/COM4");
    support::LinkDevice("COM4", reader.PortName());
    TellAnswer(Request("4"));
  }
  reader_.Run("crc 1 on serial; wait-for request; status 2 on version");
  TellAnswer(Request("3"));
  TellAnswer(Request("3"));
}

TEST_F(JsonTest, DepthAndSizeAreHarmless) {
  constexpr size_t kMiB = 1 << 20;
  EXPECT_EQ(-99, Ask(std::string(kMiB, '[')));
  EXPECT_EQ(-1, Ask(Request(std::string(kMiB, '3'))));
  EXPECT_EQ(0, Ask(std::string(kMiB, ' ') + Request("3")));
}

TEST_F(JsonTest, ABadArgumentOrATextThatDoesNotFitGivesNoReply) {
  StartCall();
  unsigned int length = 77;
  const std::string request = Request("3");
  EXPECT_EQ(-1, DEV_CommCall(nullptr, out_, out_, &length));
  EXPECT_EQ(-1, DEV_CommCall(request.c_str(), nullptr, out_, &length));
  EXPECT_EQ(-1, DEV_CommCall(request.c_str(), out_, nullptr, &length));
  EXPECT_EQ(-1, DEV_CommCall(request.c_str(), out_, out_, nullptr));
  EXPECT_EQ(-1, CxSplitJson(request.c_str(), out_, nullptr));
  EXPECT_EQ(-1, CxAddJson(-1, nullptr, nullptr, nullptr, nullptr, out_));
  const std::string endless(DEV_REPLY_BYTES, 'm');
  EXPECT_EQ(-99, CxAddJson(-1, endless.c_str(), "", "", "", out_));
  EXPECT_EQ("", Out());
  EXPECT_EQ(77u, length);
  Tell(TakenLog());
}

}  // namespace
