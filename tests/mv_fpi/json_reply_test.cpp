#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "mv_fpi/json_gateway.h"
#include "support/temp_file.h"

namespace {

// A reader may answer with any bytes at all.
TEST(JsonReply, TheWorstSerialNumberFitsTheCallersBuffer) {
  const std::string control(FG_SN_BYTES, '\x01');
  const std::string date = "20" + control.substr(26);
  char out[DEV_REPLY_BYTES + 1];
  out[DEV_REPLY_BYTES] = '#';
  const int32_t len = CxAddJson(0, "获取设备信息失败", "v255.255",
                                control.c_str(), date.c_str(), out);
  EXPECT_EQ(static_cast<size_t>(len), std::string(out).size());
  EXPECT_LT(len, DEV_REPLY_BYTES);
  EXPECT_EQ('#', out[DEV_REPLY_BYTES]);
  EXPECT_NE(nullptr,
            strstr(out, R"("20\u0001\u0001\u0001\u0001\u0001\u0001")"));
}

TEST(JsonReply, NullArgumentsAreRefused) {
  char out[DEV_REPLY_BYTES] = "untouched";
  EXPECT_EQ(-1, CxAddJson(-1, nullptr, nullptr, nullptr, nullptr, out));
  EXPECT_EQ(-1, CxAddJson(-1, "", nullptr, nullptr, nullptr, nullptr));
  EXPECT_STREQ("untouched", out);
}

int allocations_left = 0;

void* ScarceMalloc(size_t size) {
  return allocations_left-- > 0 ? malloc(size) : nullptr;
}

// The library under the reply gives up at each of its allocations in turn.
TEST(JsonReply, WithoutMemoryThereIsNoHalfReply) {
  cJSON_Hooks hooks = {ScarceMalloc, free};
  cJSON_InitHooks(&hooks);
  support::SwitchLogOn();
  int32_t result = -99;
  for (int allowed = 0; result == -99 && allowed < 100; ++allowed) {
    char out[DEV_REPLY_BYTES] = "untouched";
    allocations_left = allowed;
    result = CxAddJson(0, "m", "v1.3", "sn", "20", out);
    EXPECT_EQ(result < 0, strcmp(out, "untouched") == 0) << allowed;
    EXPECT_EQ(result > 0, strstr(out, "DeviceModel") != nullptr) << allowed;
  }
  EXPECT_GT(result, 0);
  const std::string log = support::DayLog();
  EXPECT_NE(std::string::npos, log.find("] CxAddJson 创建JSON对象失败\n"));
  EXPECT_NE(std::string::npos, log.find("] CxAddJson 将pJson转成字符串失败\n"));
}

TEST(JsonReply, WithoutMemoryTheCallSaysSoInTheLength) {
  cJSON_Hooks hooks = {ScarceMalloc, free};
  cJSON_InitHooks(&hooks);
  allocations_left = 0;
  char reply[DEV_REPLY_BYTES] = "untouched";
  unsigned int reply_len = 0;
  EXPECT_EQ(-99, DEV_CommCall("{}", reply, reply, &reply_len));
  EXPECT_EQ(static_cast<unsigned int>(-99), reply_len);
  EXPECT_STREQ("untouched", reply);
}

}  // namespace
