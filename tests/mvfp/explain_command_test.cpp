// explain, run as a program, and whether header, page and table agree.
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <string>
#include <vector>

#include "mvfp/result_codes.h"
#include "support/temp_file.h"
#include "tool_run.h"

namespace {

using Codes = std::map<std::string, int>;

// The constants that the header gives a value and a comment.
Codes CodesOfHeader() {
  const std::string header =
      support::ReadFile(MV_CHECKOUT_DIR "/include/mv_fpi.h");
  const std::regex constant(R"((FG_(?:ERR|DEV)_\w+) = (-\d+),?\s*/\*)");
  Codes codes;
  for (std::sregex_iterator i(header.begin(), header.end(), constant), end;
       i != end; ++i) {
    codes[(*i)[1]] = std::stoi((*i)[2]);
  }
  return codes;
}

TEST(Explain, TheHeadersConstantsAreTheTables) {
  Codes documented = CodesOfHeader();
  // No call tells a probe's status from its other failures.
  EXPECT_EQ(1U, documented.erase("FG_DEV_NO_FINGER"));
  Codes explained;
  for (const corvex::mvfp::CodeMeaning* row : corvex::mvfp::AllMeanings()) {
    if (row->name != std::to_string(row->code)) {
      explained[row->name] = row->code;
    }
  }
  EXPECT_EQ(documented, explained);
}

TEST(Explain, ThePageInTheDocumentationIsCurrent) {
  EXPECT_EQ(support::ReadFile(MV_CHECKOUT_DIR "/docs/result-codes.md"),
            RunTool({"explain", "--markdown"}).out)
      << "mvfp explain --markdown >docs/result-codes.md";
}

TEST(Explain, NamesEachCallInWhichACodeMeansSomethingElse) {
  const Finished run = RunTool({"explain", "-8"});
  EXPECT_EQ(0, run.exit_code) << run.err;
  EXPECT_EQ(
      "-8 FG_DEV_BAD_CRC\n"
      "  calls    FG_GetDevVersion, FG_GetDevSn, FG_GetFeature, "
      "FG_GetTemplate,\n"
      "           FG_TipsGetTemplate, DEV_CommCall\n"
      "  meaning  the checksum of the reader's reply is wrong\n"
      "  cause    noise on the line\n"
      "  remedy   try again; if it stays, check the cable and its shield\n"
      "\n"
      "-8 FG_ERR_NO_MATCH\n"
      "  calls    FG_FpMatch\n"
      "  meaning  the records do not match, or one is malformed\n"
      "  cause    the call gives one answer for both\n"
      "  remedy   see whether a record is malformed: mvfp inspect RECORD\n",
      run.out);
}

TEST(Explain, AFunctionIsNamedInAnyCaseAndWithoutItsPrefix) {
  for (const char* name : {"FG_FpMatch", "fg_fpmatch", "fpmatch", "FPMATCH"}) {
    const auto meanings =
        RunTool({"explain", "-8", name, "--json"}).Json()["meanings"];
    ASSERT_EQ(1U, meanings.size()) << name;
    EXPECT_EQ("FG_ERR_NO_MATCH", meanings[0]["name"]);
    EXPECT_EQ("FG_FpMatch", meanings[0]["calls"][0]);
  }
}

TEST(Explain, ACodeMayBeGivenByItsConstantOrNotAtAll) {
  EXPECT_EQ(RunTool({"explain", "-14", "commcall"}).out,
            RunTool({"explain", "FG_ERR_BUSY", "DEV_CommCall"}).out + "\n" +
                RunTool({"explain", "FG_DEV_BAD_HEADER", "commcall"}).out);
  const std::string all = RunTool({"explain"}).out;
  EXPECT_EQ(0U, all.find("-1 FG_ERR_ARGUMENT"));
  EXPECT_NE(std::string::npos, all.find("\n-601 FG_ERR_GUIDED_SYNTHESIS"));
}

TEST(Explain, WhatNoCallGivesIsAUsageError) {
  struct Case {
    std::vector<std::string> arguments;
    const char* said;
  };
  const std::vector<Case> cases = {
      {{"explain", "-5"}, "a call never fails with -5"},
      {{"explain", "0"}, "0 and more is success"},
      {{"explain", "-3", "FG_FpMatch"}, "FG_FpMatch: -1, -8, -98\n"},
      {{"explain", "-3", "FG_Open"}, "no call is named \"FG_Open\""},
      {{"explain", "-3", "--markdown"}, "mvfp explain --help"},
  };
  for (const Case& c : cases) {
    const Finished run = RunTool(c.arguments);
    EXPECT_EQ(2, run.exit_code) << c.said;
    EXPECT_EQ("", run.out);
    EXPECT_NE(std::string::npos, run.err.find(c.said)) << run.err;
  }
}

}  // namespace
