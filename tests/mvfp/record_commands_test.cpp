// match and inspect, each run as a program.
#include <cairo.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/temp_file.h"
#include "tool_run.h"

namespace {

using Arguments = std::vector<std::string>;

TEST(MatchCommand, SameRecordsMatchAndOthersDoNot) {
  const std::string anna = SampleRecord(40);
  const std::string bert = SampleRecord(40, 2);
  const Finished same = RunTool({"match", anna, anna});
  EXPECT_EQ(0, same.exit_code);
  EXPECT_EQ("match: score 100, level 3 takes more than 36\n", same.out);
  const Finished other = RunTool({"match", anna, bert, "--level", "1"});
  EXPECT_EQ(1, other.exit_code);
  EXPECT_EQ(0U, other.out.find("no match: score ")) << other.out;
  EXPECT_EQ("", other.err);
}

TEST(MatchCommand, LevelZeroGivesTheScoreAlone) {
  const std::string anna = SampleRecord(40);
  const Finished run = RunTool({"match", "--level", "0", anna, anna});
  EXPECT_EQ("score 100\n", run.out);
  EXPECT_EQ(0,
            RunTool({"match", "-l", "0", anna, SampleRecord(40, 2)}).exit_code);
}

TEST(MatchCommand, JsonNamesScoreLevelAndDecision) {
  const std::string anna = SampleRecord(40);
  const auto object = RunTool({"--json", "match", anna, anna}).Json();
  EXPECT_EQ(nlohmann::json({{"ok", true},
                            {"command", "match"},
                            {"match", true},
                            {"score", 100},
                            {"level", 3},
                            {"score_must_exceed", 36}}),
            object);
}

TEST(MatchCommand, ARecordComesFromAFileOrInputOrTheCommandLine) {
  const std::string anna = SampleRecord(40);
  support::WriteFile("/tmp/anna", anna + "\r\n");
  for (const char* source : {"/tmp/anna", "@/tmp/anna", "-"}) {
    EXPECT_EQ(0, RunTool({"match", anna, source}, anna + "\n").exit_code)
        << source;
  }
}

struct BadInput {
  const char* name;
  Arguments arguments;
  std::string err;
};

void PrintTo(const BadInput& input, std::ostream* out) { *out << input.name; }

class BadInputTest : public testing::TestWithParam<BadInput> {};

TEST_P(BadInputTest, IsAUsageErrorWithItsReason) {
  const Finished run = RunTool(GetParam().arguments);
  EXPECT_EQ(2, run.exit_code);
  EXPECT_EQ("", run.out);
  EXPECT_NE(std::string::npos, run.err.find(GetParam().err)) << run.err;
  Arguments arguments = GetParam().arguments;
  arguments.push_back("--json");
  const auto object = RunTool(arguments).Json();
  EXPECT_FALSE(object.value("ok", true));
  EXPECT_EQ(2, object.value("exit_code", 0));
}

INSTANTIATE_TEST_SUITE_P(
    Every, BadInputTest,
    testing::Values(
        BadInput{"NoCommand", {}, "see: mvfp --help"},
        BadInput{"UnknownCommand", {"frobnicate"}, "see: mvfp --help"},
        BadInput{"UnknownOption", {"match", "--frob"}, "mvfp match --help"},
        BadInput{"UnknownLogVerb", {"log", "frob"}, "mvfp log --help"},
        BadInput{"LevelSix", {"match", "-l", "6", "E", "E"}, "--level"},
        BadInput{"NoTimeout", {"capture", "-t", "0"}, "--timeout"},
        BadInput{"SwitchBoxZ", {"version", "--box", "Z"}, "--box"},
        BadInput{"OneRecord", {"match", SampleRecord(9)}, "SECOND"},
        BadInput{"MissingFile", {"inspect", "nowhere"}, "no file \"nowhere\""},
        BadInput{"MissingMarkedFile",
                 {"inspect", "@nowhere"},
                 "cannot read nowhere: No such file"},
        BadInput{"Directory", {"inspect", "/tmp"}, "cannot read /tmp: Is a "},
        BadInput{"PictureFormat",
                 {"inspect", SampleRecord(9), "--picture", "x.gif"},
                 ".svg or .png"},
        BadInput{"MalformedRecord",
                 {"match", SampleRecord(9), "EgAzAAAA"},
                 "byte 2: count 51 is over 50"},
        BadInput{"ShortText",
                 {"match", SampleRecord(9), "EgAA"},
                 "4 characters: too short"}),
    [](const auto& test) { return test.param.name; });

struct Malformed {
  const char* name;
  const char* text;
  int exit_code;
  const char* err;
};

void PrintTo(const Malformed& record, std::ostream* out) {
  *out << record.name;
}

class MalformedTest : public testing::TestWithParam<Malformed> {};

TEST_P(MalformedTest, IsNamedWithItsPlace) {
  const Finished run = RunTool({"inspect", "-"}, GetParam().text);
  EXPECT_EQ(GetParam().exit_code, run.exit_code);
  EXPECT_NE(std::string::npos, run.err.find(GetParam().err)) << run.err;
  const Finished json = RunTool({"inspect", "--json", "-"}, GetParam().text);
  EXPECT_EQ(GetParam().exit_code == 0, json.Json().value("valid", false));
}

INSTANTIATE_TEST_SUITE_P(
    Every, MalformedTest,
    testing::Values(
        Malformed{"Nothing", "", 1, "malformed: byte 0: there is no record"},
        Malformed{"Tag17", "EQAAAAAA", 1, "byte 0: format tag 17 is not 18"},
        Malformed{"Count51", "120033", 1, "byte 2: count 51 is over 50"},
        Malformed{"Direction360", "1200010a0a680100", 1,
                  "minutia 0, byte 5: direction 360 is over 359"},
        Malformed{"Weight101", "1200020a0a0000000a0a00ca00", 1,
                  "minutia 1, byte 11: weight 101 is over 100"},
        Malformed{"Auxiliary101", "1200010a0a000065", 1,
                  "minutia 0, byte 7: auxiliary value 101 is over 100"},
        Malformed{"HalfAByte", "1200010a0a0001000", 1,
                  "character 17: not a pair of hexadecimal digits"},
        Malformed{"CutShort", "1200020a0a000100", 0,
                  "note: byte 8: the record ends here, 5 bytes early"},
        Malformed{"TooLong", "1200010a0a000100ff", 0,
                  "note: byte 8: 1 bytes too many"},
        Malformed{"BadCharacter", "EgABCgoA*QA=", 0,
                  "note: character 9: not Base64"},
        Malformed{"HalfAGroup", "EgABCgoAAQAA0", 0,
                  "note: character 13: an incomplete group of four"},
        Malformed{"TooShortToCompare", "EgAA", 0,
                  "note: text: 4 characters: too short"}),
    [](const auto& test) { return test.param.name; });

TEST(InspectCommand, TheTableShowsEveryField) {
  const Finished run = RunTool({"inspect", "120702ff006701640080 67c8e4"});
  const Finished good = RunTool({"inspect",
                                 "120702"
                                 "ff0067c964"
                                 "008000c8e4"});
  EXPECT_EQ(0, good.exit_code) << good.err;
  EXPECT_EQ(
      "13 bytes, class 7, 2 minutiae\n"
      "index    x    y  direction  weight  kind  auxiliary\n"
      "    0  255    0        359     100     1        100\n"
      "    1    0  128          0     100     2        100\n",
      good.out);
  EXPECT_EQ(1, run.exit_code) << "a blank is no digit";
}

TEST(InspectCommand, ADualFeatureRecordKeepsItsBodyToItself) {
  const auto object = RunTool({"inspect", "128833ff", "--json"}).Json();
  EXPECT_TRUE(object.value("valid", false));
  EXPECT_TRUE(object.value("dual_feature", false));
  EXPECT_EQ(0U, object["minutiae"].size());
  EXPECT_EQ(
      2, RunTool({"inspect", "128833ff", "--picture", "/tmp/a.png"}).exit_code);
}

TEST(InspectCommand, APictureIsDrawnInBothFormats) {
  for (const char* path : {"/tmp/a.svg", "/tmp/a.png"}) {
    const Finished run =
        RunTool({"inspect", SampleRecord(40), "--picture", path});
    EXPECT_EQ(0, run.exit_code) << run.err;
  }
  EXPECT_NE(std::string::npos, support::ReadFile("/tmp/a.svg").find("</svg>"));
  EXPECT_EQ("\x89PNG", support::ReadFile("/tmp/a.png").substr(0, 4));
  for (const char* path : {"/tmp/none/a.svg", "/tmp/none/a.png"}) {
    EXPECT_EQ(
        4, RunTool({"inspect", SampleRecord(9), "--picture", path}).exit_code);
  }
}

// The middle of the plot, in pixels.
constexpr int kMiddleX = 432;
constexpr int kMiddleY = 448;

bool IsInk(cairo_surface_t* picture, int x, int y) {
  const unsigned char* const pixel =
      cairo_image_surface_get_data(picture) +
      y * cairo_image_surface_get_stride(picture) + 4 * x;
  return pixel[0] < 220 || pixel[2] < 220;
}

TEST(InspectCommand, DirectionNinetyPointsUp) {
  // One minutia at 128, 128: direction 90, weight 100.
  ASSERT_EQ(0, RunTool({"inspect",
                        "120001"
                        "80805ac800",
                        "--picture", "/tmp/a.png"})
                   .exit_code);
  const std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> picture(
      cairo_image_surface_create_from_png("/tmp/a.png"), cairo_surface_destroy);
  EXPECT_TRUE(IsInk(picture.get(), kMiddleX, kMiddleY));
  EXPECT_TRUE(IsInk(picture.get(), kMiddleX, kMiddleY - 20));
  EXPECT_FALSE(IsInk(picture.get(), kMiddleX, kMiddleY + 30));
  EXPECT_FALSE(IsInk(picture.get(), kMiddleX - 20, kMiddleY));
  EXPECT_FALSE(IsInk(picture.get(), kMiddleX + 20, kMiddleY));
}

TEST(Help, EveryCommandExplainsItselfWithExamples) {
  for (const Arguments& command : std::vector<Arguments>{{},
                                                         {"version"},
                                                         {"sn"},
                                                         {"probe"},
                                                         {"capture"},
                                                         {"enroll"},
                                                         {"match"},
                                                         {"inspect"},
                                                         {"log"},
                                                         {"log", "on"},
                                                         {"log", "off"},
                                                         {"log", "follow"}}) {
    Arguments arguments = command;
    arguments.push_back("--help");
    const Finished run = RunTool(arguments);
    EXPECT_EQ(0, run.exit_code);
    EXPECT_NE(std::string::npos, run.out.find("Example")) << run.out;
    EXPECT_EQ("", run.err);
  }
  EXPECT_EQ(0U, RunTool({"--version"}).out.find("mvfp "));
}

TEST(Output, AFullDiskIsNoSuccess) {
  const std::string line =
      std::string(MVFP_PROGRAM) + " inspect EgAA >/dev/full 2>/tmp/err";
  EXPECT_EQ(4, WEXITSTATUS(system(line.c_str())));
  EXPECT_NE(std::string::npos,
            support::ReadFile("/tmp/err").find("No space left"));
}

}  // namespace
