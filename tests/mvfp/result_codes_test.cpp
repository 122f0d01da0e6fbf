#include "mvfp/result_codes.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using namespace corvex::mvfp;
using Names = std::vector<std::string>;

// What mv_fpi.h says that each call returns.
const std::vector<std::pair<Call, std::vector<int>>>& DocumentedCodes() {
  static const std::vector<std::pair<Call, std::vector<int>>> kCodes = {
      {kGetDevVersion, {-1, -3, -8, -10, -11, -14, -99}},
      {kGetDevSn, {-1, -3, -8, -10, -11, -14, -99}},
      {kCheckPressed, {-1, -3, -7, -10, -14}},
      {kGetFeature, {-1, -2, -3, -8, -10, -11, -14, -99}},
      {kGetTemplate, {-1, -2, -3, -8, -10, -11, -14, -98, -99}},
      {kTipsGetTemplate, {-1, -2, -3, -8, -10, -11, -14, -23, -98, -99, -601}},
      {kFpMatch, {-1, -8, -98}},
      {kCommCall, {-1, -3, -8, -10, -11, -14, -99}},
  };
  return kCodes;
}

TEST(ResultCodes, EveryCodeOfEveryCallIsExplainedAndNoOther) {
  for (const auto& [call, codes] : DocumentedCodes()) {
    const std::set<int> documented(codes.begin(), codes.end());
    for (int code = -700; code < 0; ++code) {
      EXPECT_EQ(documented.count(code) != 0, !MeaningsOf(call, code).empty())
          << NameOf(call) << " " << code;
      for (const CodeMeaning* meaning : MeaningsOf(call, code)) {
        for (const char* text : {meaning->name, meaning->meaning,
                                 meaning->cause, meaning->remedy}) {
          EXPECT_STRNE("", text) << NameOf(call) << " " << code;
        }
      }
    }
  }
}

struct Ambiguity {
  Call call;
  int code;
  const char* message;
  long elapsed_ms;
  Names names;
};

TEST(ResultCodes, MessageAndDurationTellMeaningsApart) {
  const std::vector<Ambiguity> cases = {
      {kGetDevSn, -14, "", 3, {"FG_ERR_BUSY"}},
      {kGetDevSn, -14, "", 400, {"FG_DEV_BAD_HEADER", "FG_ERR_BUSY"}},
      {kGetDevSn, -3, "", 3, {"FG_ERR_PORT"}},
      {kGetFeature, -3, "打开串口失败", 3, {"FG_ERR_PORT"}},
      {kGetFeature, -3, "采集指纹特征失败", 900, {"FG_DEV_TOO_LONG"}},
      {kGetTemplate, -99, "合成指纹模板失败", 5000, {"FG_ERR_SYNTHESIS"}},
      {kGetTemplate, -99, "采集指纹模板失败", 5000, {"FG_DEV_NO_MEMORY"}},
      {kGetFeature, -10, "下发BP盒指令失败", 300, {"FG_ERR_SELECTOR"}},
      {kGetFeature, -10, "", 900, {"FG_DEV_WRITE"}},
      {kCommCall, -99, "", 3, {"-99"}},
      // What contradicts the table is still explained.
      {kGetDevSn, -11, "", 3, {"FG_DEV_READ"}},
  };
  for (const Ambiguity& c : cases) {
    Names names;
    for (const CodeMeaning* meaning :
         MeaningsOf(c.call, c.code, c.message, c.elapsed_ms)) {
      names.emplace_back(meaning->name);
    }
    EXPECT_EQ(c.names, names) << NameOf(c.call) << " " << c.code << " "
                              << c.message << " " << c.elapsed_ms;
  }
}

}  // namespace
