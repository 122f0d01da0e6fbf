// DEV_CommCall, end to end: a host that speaks JSON and a reader on /dev/COM3.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "cx_file_lock/cx_file_lock.h"
#include "mv_fpi.h"
#include "support/private_dev.h"
#include "support/temp_file.h"
#include "virtual_reader/virtual_reader.h"

namespace {

using corvex::vreader::Options;
using corvex::vreader::VirtualReader;

constexpr char kRequest[] = R"({"FunctionCode":"0001","RequestPort":"3"})";

std::string Failure(int code, const std::string& message) {
  return "{\n\t\"ErrorCode\":\t\"" + std::to_string(code) +
         "\",\n\t\"ErrorMessage\":\t\"" + message + "\"\n}";
}

bool Logged(const std::string& text) {
  return support::DayLog().find("] " + text) != std::string::npos;
}

class JsonGateway : public testing::Test {
 protected:
  JsonGateway() {
    support::CoverDev();
    support::SwitchLogOn();
  }

  static Options WithSerial(const std::string& serial) {
    Options options;
    options.version = {1, 3};
    options.serial = serial;
    return options;
  }

  int Call(const std::string& request = kRequest) {
    memset(reply_, '#', sizeof reply_);
    char reserved = '#';
    const int code = DEV_CommCall(request.c_str(), &reserved, reply_, &length_);
    EXPECT_EQ('#', reserved);
    EXPECT_EQ(length_, strnlen(reply_, DEV_REPLY_BYTES));
    EXPECT_EQ('#', reply_[length_ + 1]);
    return code;
  }

  char reply_[DEV_REPLY_BYTES + 1];
  unsigned int length_ = 0;
};

TEST_F(JsonGateway, AReaderIsDescribed) {
  VirtualReader reader(WithSerial("MV5120-0000000000000000000240315"));
  support::LinkDevice("COM3", reader.PortName());
  EXPECT_EQ(0, Call());
  EXPECT_STREQ(
      "{\n"
      "\t\"ErrorCode\":\t\"0\",\n"
      "\t\"ErrorMessage\":\t\"获取设备信息成功\",\n"
      "\t\"DeviceBrand\":\t\"KOVA\",\n"
      "\t\"DllVersion\":\t\"2024.11.27\",\n"
      "\t\"DeviceVersion\":\t\"v1.3\",\n"
      "\t\"DeviceSN\":\t\"MV5120-0000000000000000000240315\",\n"
      "\t\"ProductionDate\":\t\"20240315\",\n"
      "\t\"DeviceModel\":\t\"MV5120\"\n"
      "}",
      reply_);
  EXPECT_TRUE(Logged("DEV_CommCall 开始...\n"));
  EXPECT_TRUE(Logged("DEV_CommCall 端口号[COM3]\n"));
  EXPECT_TRUE(Logged("DEV_CommCall 结束[0]\n\n"));
  EXPECT_EQ(2, reader.Counts().requests);
  EXPECT_EQ(std::vector<std::string>{}, reader.Errors());
}

TEST_F(JsonGateway, AnotherFunctionIsAnsweredAlike) {
  VirtualReader reader(WithSerial("MV5120-0000000000000000000240315"));
  support::LinkDevice("COM3", reader.PortName());
  EXPECT_EQ(0, Call(R"({"FunctionCode":"0002","RequestPort":"3"})"));
  EXPECT_NE(nullptr, strstr(reply_, "20240315"));
  EXPECT_TRUE(Logged("CxSplitJson 交易号错误[0002]\n"));
}

TEST_F(JsonGateway, TheSerialNumberIsTakenAsItComes) {
  const struct {
    std::string serial;
    const char* printed;
    const char* date;
  } kCases[] = {
      {"", "", "20"},
      {"SN-20240315", "SN-20240315", "20"},
      {std::string(28, 'x'), "xxxxxxxxxxxxxxxxxxxxxxxxxxxx", "20xx"},
      {std::string("AB\0CD", 5) + std::string(27, '7'), "AB", "20777777"},
      {std::string(26, 'y') + "\x01\x02\xFF\"\\\n",
       "yyyyyyyyyyyyyyyyyyyyyyyyyy\\u0001\\u0002\xFF\\\"\\\\\\n",
       "20\\u0001\\u0002\xFF\\\"\\\\\\n"},
      {std::string(40, 'z'), "zzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzz", "20zzzzzz"},
  };
  for (const auto& c : kCases) {
    VirtualReader reader(WithSerial(c.serial));
    const std::string name = "COM" + reader.PortName().substr(4);
    support::LinkDevice(name, reader.PortName());
    EXPECT_EQ(0, Call(R"({"FunctionCode":"0001","RequestPort":")" +
                      name.substr(3) + "\"}"));
    const auto line = [](const std::string& key, const std::string& value) {
      return "\"" + key + "\":\t\"" + value + "\",\n";
    };
    EXPECT_NE(nullptr, strstr(reply_, line("DeviceSN", c.printed).c_str()))
        << reply_;
    EXPECT_NE(nullptr, strstr(reply_, line("ProductionDate", c.date).c_str()))
        << reply_;
    unlink(("/dev/" + name).c_str());
  }
}

TEST_F(JsonGateway, APortThatCannotBeOpenedIsAFailureLikeAnyOther) {
  EXPECT_EQ(-3, Call());
  EXPECT_EQ(Failure(-3, "获取设备信息失败"), reply_);
  EXPECT_TRUE(Logged("DEV_CommCall 结束[-3]\n\n"));
}

TEST_F(JsonGateway, ThePortNumberIsReadLeniently) {
  const struct {
    std::string number;
    const char* name;
  } kCases[] = {{"7", "COM7"},
                {" 7x", "COM7"},
                {"port", "COM0"},
                {"-5", "COM-5"},
                {"2147483647", "COM2147483647"},
                {"-2147483648", "COM-2147483648"},
                {"4294967299", "COM3"},
                {"99999999999999999999", "COM-1"},
                {std::string(40, '9'), "COM-1"},
                {"../../etc/passwd", "COM0"}};
  for (const auto& c : kCases) {
    support::SwitchLogOn();
    EXPECT_EQ(-3, Call(R"({"FunctionCode":"0001","RequestPort":")" + c.number +
                       "\"}"));
    EXPECT_TRUE(Logged(std::string("DEV_CommCall 端口号[") + c.name + "]\n"))
        << c.number;
  }
}

TEST_F(JsonGateway, ABadRequestIsAnsweredWithoutTheReader) {
  VirtualReader reader;
  support::LinkDevice("COM3", reader.PortName());
  const struct {
    const char* request;
    int code;
    const char* message;
  } kCases[] = {
      {"", -99, "获取设备信息失败"},
      {"\xFF\xFE", -99, "获取设备信息失败"},
      {R"({"RequestPort":"3"})", -99, "获取设备信息失败"},
      {R"({"FunctionCode":1,"RequestPort":"3"})", -1, "参数错误"},
      {R"({"FunctionCode":"0001","RequestPort":3})", -1, "参数错误"},
      {R"({"FunctionCode":"0001","RequestPort":""})", -1, "参数错误"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(c.code, Call(c.request)) << c.request;
    EXPECT_EQ(Failure(c.code, c.message), reply_);
  }
  EXPECT_EQ(0, reader.Counts().requests);
}

TEST_F(JsonGateway, TheReadersOwnFailureIsTheCode) {
  VirtualReader reader;
  support::LinkDevice("COM3", reader.PortName());
  reader.Run("crc 1 on serial");
  EXPECT_EQ(-8, Call());
  EXPECT_EQ(Failure(-8, "获取设备信息失败"), reply_);
  EXPECT_EQ(1, reader.Counts().requests);
  reader.Run("status 2 on version");
  EXPECT_EQ(-14, Call());
  EXPECT_EQ(Failure(-14, "获取设备信息失败"), reply_);
}

TEST_F(JsonGateway, AReaderInUseIsAFailureAtOnce) {
  const int32_t lock = cx_file_lock();
  ASSERT_GE(lock, 0);
  EXPECT_EQ(-14, Call());
  EXPECT_EQ(Failure(-14, "获取设备信息失败"), reply_);
  cx_file_unlock(lock);
}

TEST_F(JsonGateway, NullArgumentsGetNoReply) {
  char reply[DEV_REPLY_BYTES] = "untouched";
  unsigned int length = 77;
  EXPECT_EQ(-1, DEV_CommCall(nullptr, reply, reply, &length));
  EXPECT_EQ(-1, DEV_CommCall(kRequest, nullptr, reply, &length));
  EXPECT_EQ(-1, DEV_CommCall(kRequest, reply, nullptr, &length));
  EXPECT_EQ(-1, DEV_CommCall(kRequest, reply, reply, nullptr));
  EXPECT_STREQ("untouched", reply);
  EXPECT_EQ(77u, length);
  EXPECT_TRUE(Logged("DEV_CommCall 参数错误[-1]\n\n"));
}

}  // namespace
