#include <gtest/gtest.h>

#include <string>

#include "mv_fpi/json_gateway.h"
#include "support/temp_file.h"

namespace {

struct Request {
  const char* text;
  int code;
  const char* port;
  const char* log;  // null: the log stays empty
};

// What the log says of it, without stamp and place.
void ExpectLog(const char* expected) {
  const std::string log = support::DayLog();
  if (expected == nullptr) {
    EXPECT_EQ("", log);
    return;
  }
  // One record, in the short form: no process and no thread.
  EXPECT_EQ(12u, log.find("  [src/mv_fpi:"));
  EXPECT_EQ(std::string("CxSplitJson ") + expected + "\n",
            log.substr(log.find("] ") + 2));
}

void ExpectSplit(const Request& request) {
  SCOPED_TRACE(request.text);
  support::SwitchLogOn();
  char port[corvex::kPortTextBytes + 1] = {};
  char spare = '#';
  EXPECT_EQ(request.code, CxSplitJson(request.text, port, &spare));
  EXPECT_STREQ(request.port, port);
  EXPECT_EQ('#', spare);
  ExpectLog(request.log);
}

#define FORTY "1234567890123456789012345678901234567890"

TEST(JsonRequest, FieldsAreReadAndTheRestIsIgnored) {
  const Request kRequests[] = {
      {R"({"FunctionCode":"0001","RequestPort":"3"})", 0, "3", nullptr},
      {R"( { "x":[{}], "RequestPort":"12","FunctionCode":"0001"} )", 0, "12",
       nullptr},
      {R"({"FunctionCode":"0001","RequestPort":"3"} trailing)", 0, "3",
       nullptr},
      {R"({"functioncode":"0001","REQUESTPORT":"3"})", 0, "3", nullptr},
      {R"({"FunctionCode":"0001","RequestPort":"3","RequestPort":"4"})", 0, "3",
       nullptr},
      {R"({"FunctionCode":"0001","RequestPort":"COM3"})", 0, "COM3", nullptr},
      {R"({"FunctionCode":"0001","RequestPort":")" FORTY R"("})", 0, FORTY,
       nullptr},
      {"{\"FunctionCode\":\"0001\",\"RequestPort\":\"\xFF\xC0\"}", 0,
       "\xFF\xC0", nullptr},
  };
  for (const Request& request : kRequests) ExpectSplit(request);
}

TEST(JsonRequest, AnyFunctionCodeIsTakenButLogged) {
  const Request kRequests[] = {
      {R"({"FunctionCode":"00019","RequestPort":"3"})", 0, "3", nullptr},
      {R"({"FunctionCode":"0002","RequestPort":"3"})", 0, "3",
       "交易号错误[0002]"},
      {R"({"FunctionCode":"12345","RequestPort":"3"})", 0, "3",
       "交易号错误[1234]"},
      {R"({"FunctionCode":"000","RequestPort":"3"})", 0, "3",
       "交易号错误[000]"},
      {R"({"FunctionCode":"","RequestPort":"3"})", 0, "3", "交易号错误[]"},
      {R"({"FunctionCode":"0002","FunctionCode":"0001","RequestPort":"3"})", 0,
       "3", "交易号错误[0002]"},
  };
  for (const Request& request : kRequests) ExpectSplit(request);
}

TEST(JsonRequest, AFieldThatBreaksItsRuleIsNamed) {
  const Request kRequests[] = {
      {R"({"FunctionCode":1,"RequestPort":"3"})", -1, "", "交易号类型不对"},
      {R"({"FunctionCode":null,"RequestPort":"3"})", -1, "", "交易号类型不对"},
      {R"({"FunctionCode":["0001"],"RequestPort":"3"})", -1, "",
       "交易号类型不对"},
      {R"({"FunctionCode":"0001"})", -1, "", "解析端口号失败"},
      {R"({"FunctionCode":"0001","RequestPort":3})", -1, "", "端口号类型不对"},
      {R"({"FunctionCode":"0001","RequestPort":{"n":"3"}})", -1, "",
       "端口号类型不对"},
      {R"({"FunctionCode":"0001","RequestPort":3,"RequestPort":"3"})", -1, "",
       "端口号类型不对"},
      {R"({"FunctionCode":"0001","RequestPort":""})", -1, "",
       "解析端口号长度异常"},
      {R"({"FunctionCode":"0001","RequestPort":")" FORTY R"(1"})", -1, "",
       "解析端口号长度超长[41]"},
  };
  for (const Request& request : kRequests) ExpectSplit(request);
}

TEST(JsonRequest, WhatIsNoRequestIsUnusable) {
  const Request kRequests[] = {
      {"", -99, "", "解析报文失败"},
      {" \t\n", -99, "", "解析报文失败"},
      {"{", -99, "", "解析报文失败"},
      {R"({"FunctionCode":"0001","RequestPort":"3")", -99, "", "解析报文失败"},
      {R"({"FunctionCode":"0001,"RequestPort":"3"})", -99, "", "解析报文失败"},
      {R"({"FunctionCode":"\ud800","RequestPort":"3"})", -99, "",
       "解析报文失败"},
      {"\xFF\xFE{\0}\0", -99, "", "解析报文失败"},
      {"{}", -99, "", "解析交易号失败"},
      {"[]", -99, "", "解析交易号失败"},
      {R"(["FunctionCode","RequestPort"])", -99, "", "解析交易号失败"},
      {R"("FunctionCode")", -99, "", "解析交易号失败"},
      {"1e999", -99, "", "解析交易号失败"},
      {R"({"RequestPort":"3"})", -99, "", "解析交易号失败"},
  };
  for (const Request& request : kRequests) ExpectSplit(request);
}

TEST(JsonRequest, DepthAndSizeAreHarmless) {
  constexpr size_t kMiB = 1 << 20;
  const std::string deep(kMiB, '[');
  ExpectSplit({deep.c_str(), -99, "", "解析报文失败"});
  std::string objects;
  for (size_t i = 0; i < kMiB / 5; ++i) objects += "{\"a\":";
  ExpectSplit({objects.c_str(), -99, "", "解析报文失败"});
  const std::string open = R"({"FunctionCode":"0001","RequestPort":")";
  const std::string long_port = open + std::string(kMiB, '3') + "\"}";
  ExpectSplit({long_port.c_str(), -1, "", "解析端口号长度超长[1048576]"});
  const std::string padded = std::string(kMiB, ' ') + open + "3\"}";
  ExpectSplit({padded.c_str(), 0, "3", nullptr});
  std::string keys = "{";
  for (size_t i = 0; i < kMiB / 8; ++i) keys += R"("k":"",)";
  keys += open.substr(1) + "3\"}";
  ExpectSplit({keys.c_str(), 0, "3", nullptr});
}

TEST(JsonRequest, NullArgumentsAreRefused) {
  char port[corvex::kPortTextBytes + 1] = {};
  char spare = '#';
  support::SwitchLogOn();
  EXPECT_EQ(-1, CxSplitJson(nullptr, port, &spare));
  ExpectLog("参数错误");
  EXPECT_EQ(-1, CxSplitJson("{}", nullptr, &spare));
  EXPECT_EQ(-1, CxSplitJson("{}", port, nullptr));
}

}  // namespace
