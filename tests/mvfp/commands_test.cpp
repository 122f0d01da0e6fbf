// What each command prints, and how it ends.
#include "tool.h"

namespace {

#define LOCK "/tmp/cx_nrbk_drv_file_mutex.lock"

struct Situation {
  const char* name;
  const char* script;  // of the virtual reader
  const char* line;
  int exit_code;
  const char* out;
  const char* err;
};
void PrintTo(const Situation& s, std::ostream* out) { *out << s.line; }

// A press that is over when the tool looks whether the finger was lifted.
#define PRESS(finger) "press " finger "; hold capture; wait-for probe; "

const Situation kSituations[] = {
    {"Version", "", "mvfp version", 0, "v2.15", ""},
    {"SerialNumber", "", "mvfp sn", 0, "CX1206A0001900004711000042240315", ""},
    {"NoFinger", "", "mvfp probe", 1, "no finger", ""},
    {"Finger", "press 1", "mvfp probe --json", 0,
     R"({"ok":true,"command":"probe","finger":true})", ""},
    {"OptionBeforeEnvironment", "", "MVFP_PORT=null mvfp version -p /dev/COM3",
     0, "v2.15", ""},
    {"SwitchBox", "wait-for selector; version 7 8", "mvfp version --box B", 0,
     "v7.8", ""},
    {"EnrolledFingerMatches", "press 1 1",
     "mvfp enroll -o /tmp/1; fold -w 20 /tmp/1 >/tmp/2; "
     "mvfp capture | mvfp match -l 5 /tmp/2 -",
     0, "match: score 100, level 5 takes more than 45", "wrote /tmp/1"},
    {"OtherFingerDoesNot", "press 1 1; wait-for capture; press 2 1",
     "mvfp capture >/tmp/1; mvfp capture | mvfp match -l 1 - @/tmp/1 >/tmp/2",
     1, "", ""},
    {"MatchInJson", "press 1 1",
     "mvfp capture >/tmp/1; mvfp --json match /tmp/1 /tmp/1", 0,
     R"({"ok":true,"command":"match","match":true,"score":100,"level":3,)"
     R"("score_must_exceed":36})",
     ""},
    {"ScoreAlone", "press 1 1",
     "mvfp capture >/tmp/1; mvfp match -l 0 /tmp/1 /tmp/1", 0, "score 100", ""},
    {"PrintsAreTheirOwners", "press 1",
     "umask 0; mvfp capture -o /tmp/1; "
     "mvfp inspect /tmp/1 --picture /tmp/1.svg >/dev/null; stat -c %a /tmp/1*",
     0, "600\n600", "drew /tmp/1.svg"},
    {"Info", "", "mvfp info -p 3 | tail -n 1", 0, "library        2024.11.27",
     ""},
    {"InfoInJsonFails", "", "mvfp info --json -p COM4", 4,
     "{\n\t\"ErrorCode\":\t\"-3\",\n"
     "\t\"ErrorMessage\":\t\"获取设备信息失败\"\n}",
     "mvfp: there is no /dev/COM4; ports of this machine: COM3; try: mvfp "},
    {"FailureInJson", "status 5 on speed",
     "mvfp capture --json | sed 's/,\"meanings.*//; s/\"next.*\"code/\"code/'",
     0,
     R"j({"ok":false,"command":"capture","exit_code":4,"error":{"what":)j"
     R"j("the reader did not take its link speed (FG_GetFeature -10)",)j"
     R"j("code":-10,"message":"设备串口波特率失败")j",
     "link speed"},
    {"Refusal", "status 5 on serial", "mvfp sn", 4, "",
     "mvfp: the reader refused, or the reply was not to this request "
     "(FG_GetDevSn -14)\nmvfp: try again; the reason is in the day's log: "},
    {"Busy", "", "flock " LOCK " mvfp version", 4, "",
     "mvfp: another call holds the reader (FG_GetDevVersion -14)\n"
     "mvfp: it is held by a call of flock (process "},
    {"NoLock", "", "ln -s a " LOCK "; mvfp version --wait 9", 4, "",
     "mvfp: no call can take the lock: " LOCK " is a link"},
    {"WaitsForTheOtherCall", "",
     "exec 9>" LOCK "; flock 9; while ! grep waiting /tmp/err; do :; done "
     ">/dev/null & exec 9>&-; mvfp version --wait 60",
     0, "v2.15", "mvfp: waiting for the reader: left over from a call"},
    {"PortsAndWhoIsOnThem", "",
     "ln -s gone /dev/COM9; mvfp ports; "
     "ln -s COM3 /dev/ttyUSB0; mvfp ports; exec 9<>/dev/COM3; mvfp ports | "
     "sed 's/[0-9]*)/N)/'",
     0,
     "COM3 is free\nttyUSB0 is free\n  name     COM3\nttyUSB0 is in use by sh "
     "(process N)\n  name     COM3",
     ""},
    {"ScanFindsTheReader", "", "mvfp scan; ln -s COM3 /dev/ttyUSB0; mvfp scan",
     0, "COM3  v2.15\nttyUSB0  v2.15  COM3", ""},
    {"ScanLeavesOthersAlone", "",
     "ln -s COM3 /dev/ttyUSB0; exec 9<>/dev/COM3; mvfp scan", 1, "",
     "no reader on ttyUSB0: ttyUSB0 is in use by sh (process "},
    {"LinkTest", "status 5 on version",
     "mvfp link-test -n 2 | grep -v '^time of a call: min [0-9]* ms, '", 0,
     "1 of 2 queries answered\n1 times: the reader refused, or the reply was "
     "not to this request (FG_GetDevVersion -14)",
     ""},
    {"WindowIsClosed", "press 1 1; wait-for capture; press 1 2",
     "printf '#!/bin/sh\nsleep 1' >/tmp/site/cx_capdlg; "
     "chmod 755 /tmp/site/cx_capdlg; mvfp enroll --guided",
     5, "", "the user closed the prompt window (FG_TipsGetTemplate -23)"},
    {"NobodyPresses", "", "mvfp capture -t 1", 3, "",
     "mvfp: no finger came in time (FG_GetFeature -2)\nmvfp: press firmly"},
    {"EmptyPrint", "press nothing", "mvfp capture", 3, "", "press again"},
    {"ThreeFingersGuided",
     "press 1; wait-for capture; press 2; wait-for capture; press 3",
     "mvfp enroll --guided", 4, "", "do not agree (FG_TipsGetTemplate -601)"},
    {"OneFingerGuided", "press 1", "mvfp enroll --guided -o /tmp/a", 0, "",
     "the three presses agree"},
    {"NoDriver", "",
     "mkdir /tmp/a; cp $(which mvfp) /tmp/a; echo >/tmp/site/libmv_fpi.so.1; "
     "/tmp/a/mvfp version",
     4, "", "cannot load the driver: /tmp/site/libmv_fpi.so.1: "},
    {"RecordInJson", "", "mvfp inspect 120702ff0067c964008000c8e4 --json", 0,
     R"({"ok":true,"command":"inspect","valid":true,"bytes":13,"class":7,)"
     R"("dual_feature":false,"count":2,"minutiae":[{"index":0,"x":255,"y":0,)"
     R"("direction":359,"weight":100,"kind":1,"auxiliary":100},{"index":1,)"
     R"("x":0,"y":128,"direction":0,"weight":100,"kind":2,"auxiliary":100}],)"
     R"("findings":[]})",
     ""},
    // The minutia in the middle points up the page.
    {"Pictures", "",
     "for p in /tmp/a.png /tmp/a.svg; do "
     "mvfp inspect 12000180805ac800 --picture $p >/dev/null; done; "
     "grep -aoc PNG /tmp/a.png; "
     "grep -c 'M 432[.0-9]* 448[.0-9]* L 432[.0-9]* 425' /tmp/a.svg",
     0, "1\n1", "drew /tmp/a.png\nmvfp: drew /tmp/a.svg\n"},
    {"PersonIsIdentified", "press 1 1; wait-for capture; press 2 1",
     "export MVFP_GALLERY=/tmp/g; mvfp capture >/tmp/1; mvfp capture >/tmp/2; "
     "umask 0; mvfp gallery add /tmp/1 --id T1 --finger r1 >/dev/null; "
     "mvfp gallery export | sed s/T1/T2/ | mvfp gallery import -; "
     "mvfp identify -r /tmp/1 --best 5; mvfp verify --id T2 -r /tmp/2; "
     "mvfp gallery remove T2; stat -c %a /tmp/g",
     0,
     "added 1 record\nT1\tr1\tscore 100, level 5\nT2\tr1\tscore 100, level 5\n"
     "no match: nobody scores more than 36, level 3\nremoved 1 record\n600",
     ""},
    {"EnrolsAFingerOnce",
     PRESS("1") PRESS("1") PRESS("1") PRESS("1") PRESS("1") "press 1",
     "export MVFP_GALLERY=/proc/g; enroll() { mvfp enroll -g /tmp/g --finger f "
     "--receipt /tmp/r --id $1 2>&1 | grep -v wrote; }; enroll T1; "
     "grep -c $(mvfp gallery show T1 -g /tmp/g | sed -n 's/.*256 *//p') /tmp/r;"
     "stat -c %a /tmp/r; enroll T2; mvfp gallery list -g /tmp/g | wc -l",
     0,
     "added T1, f\n1\n600\nmvfp: this finger is enrolled already, as T1, f: "
     "score 100, level 5\nmvfp: nothing was kept; if it is another person's "
     "after all, enrol again with --allow-duplicate\n1",
     ""},
    {"CheckFails", PRESS("1") PRESS("1") PRESS("1") "press 2",
     "mvfp enroll --check -o /tmp/t || [ $? = 1 -a ! -e /tmp/t ]", 0, "",
     "passes no level; level 3 is wanted"},
    {"NeverLifted", "press 1 1",
     "mvfp enroll --check --receipt /tmp/r >/dev/null 2>&1; "
     "grep -c 'was not lifted' /tmp/r",
     0, "3", ""},
    {"BadLineImportsNothing", "",
     "printf 'a\\tb\\tEgAA\\na\\tb\\tEg\\n' >/tmp/1; "
     "mvfp gallery import /tmp/1 -g /tmp/g || ls /tmp/g",
     2, "", "line 2: ends after 0 bytes, within its head of 3\nmvfp: nothing"},
    {"KilledWriterIsUndone", "",
     "export MVFP_GALLERY=/tmp/g; mvfp gallery add EgAA --id a --finger b; "
     "python3 -c 'import os, sqlite3\n"
     "to = sqlite3.connect(\"/tmp/g\")\nto.execute(\"pragma cache_size=1\")\n"
     "rows = [(\"x\", \"y\", 9000 * b\"z\", \"\")] * 9\n"
     "to.executemany(\"insert into fingers values(null,?,?,?,?)\", rows)\n"
     "os._exit(0)'; ls /tmp/g*; mvfp gallery list | cut -f 1,2",
     0, "added a, b\n/tmp/g\n/tmp/g-journal\na\tb", ""},
    // Four impressions of five fingers, the last one under a sixth id.
    {"RatesOfTheGallery", "",
     "export MVFP_GALLERY=/tmp/g; python3 -c 'import base64\n"
     "for row in open(\"" MV_CHECKOUT_DIR "/packaging/fingers.tsv\"):\n"
     "  if row[0] == \"#\": continue\n"
     "  _, finger, number, record = row.split()\n"
     "  if finger + number == \"54\": finger = \"6\"\n"
     "  text = base64.b64encode(bytes.fromhex(record)).decode()\n"
     "  print(finger, \"f\", text, sep=\"\\t\")' | mvfp gallery import -; "
     "mvfp gallery calibrate --picture /tmp/r.svg | grep -E 'trials|^ +3 '; "
     "grep -cE 'M (362.4|362.39|395.2|395.19|469)[0-9]* 110 L ' /tmp/r.svg",
     0,
     "added 20 records\nFalse matches, records of different ids: 163 trials\n"
     "    3           36         3       1.84     0.628 to 5.27      1 of 15\n"
     "False non-matches, records of one finger: 27 trials\n"
     "    3           36         0          0         0 to 12.5      0 of 5\n"
     "3",
     "drew /tmp/r.svg"},
    {"HelpFitsATerminal", "",
     "for command in '' enroll verify gallery 'gallery calibrate' doctor; do "
     "mvfp $command --help; done | awk 'length > 80'",
     0, "", ""},
    {"MeaningByNames", "", "mvfp explain FG_ERR_BUSY commcall | head -n 1", 0,
     "-14 FG_ERR_BUSY", ""},
    {"PageOfTheDocumentation", "",
     "mvfp explain --markdown | diff - " MV_CHECKOUT_DIR
     "/docs/result-codes.md",
     0, "", ""},
    {"LogOnAndOff", "",
     "umask 077; mvfp log on; stat -c %a $LOG; echo kept >$LOG; mvfp log on; "
     "grep -cx kept $LOG; mvfp log off; ls $LOG 2>&1 | wc -l; mvfp log off",
     0,
     "log on: LOG\n666\nlog already on: LOG\n1\nlog off: LOG; what it "
     "held: LOG.1\n1\nlog already off: LOG",
     ""},
    {"LogIsAStrangers", "",
     "echo >$LOG; chmod 0 $LOG; setpriv --bounding-set=-all mvfp log follow", 4,
     "", "cannot read LOG: Permission denied"},
    {"LogIsALink", "",
     "ln -s a $LOG; mvfp log on || mvfp log off || mvfp log follow || "
     "ls /tmp/a $LOG 2>/dev/null",
     2, "LOG", "LOG is no regular file; leaving it alone\n"},
};

class Command : public Tool, public testing::WithParamInterface<Situation> {};

TEST_P(Command, SaysItsResultOrTheFaultAndTheRemedy) {
  const Situation& s = GetParam();
  reader_.Run(s.script);
  Expect(s.line, s.exit_code, s.out, s.err);
  EXPECT_EQ(std::vector<std::string>{}, reader_.Errors());
}

INSTANTIATE_TEST_SUITE_P(Every, Command, testing::ValuesIn(kSituations),
                         [](const auto& test) { return test.param.name; });

struct Fault {
  const char* arguments;
  int exit_code;
  const char* err;
};

TEST_F(Tool, WhatIsWrongIsNamedWithItsPlace) {
  const Fault faults[] = {
      {"", 2, "mvfp: no command given\nmvfp: see: mvfp --help\n"},
      {"nonsense --help", 2, "no command \"nonsense\"; it has version, sn, "},
      {"help log nonsense", 2, "no command \"nonsense\"; it has on, off, fo"},
      {"sn --prot x", 2, "no option --prot; the options: --help, --json, --p"},
      {"match --lvl", 2, "no option --lvl; the options: "},
      {"log --nonsense", 2, "no option --nonsense; the options: --help\n"},
      {"--version >/dev/full", 4, "cannot write to standard output: No space"},
      {"sn -p ''", 2, "no port given\nmvfp: name it with --port or in MVFP_"},
      {"sn -p /tmp/x", 2, "\"/tmp/x\" names no port"},
      {"info -p COM03", 2, "\"COM03\" is no port COM"},
      {"version -p null", 4, "/dev/null is not a serial port"},
      {"capture -o /tmp/a/1", 2, "cannot write /tmp/a/1: No such file"},
      {"bind 5 -p ttyX", 2, "ttyX is no serial port"},
      {"doctor -p null", 1, ""},
      {"enroll --finger f --id ''", 2, "--id: is empty"},
      {"gallery list -g ''", 2, "--gallery: names no file"},
      {"gallery list -g /", 2, "gallery /: unable to open database"},
      {"gallery remove T1 -g /tmp/a", 2, "cannot read /tmp/a: No such file"},
      {"gallery import /dev/zero", 2, "line 1: is no line of text, or too lo"},
      {"enroll --finger f --id $(printf '\\377')", 2, "--id: is not UTF-8"},
      {"capture -t 0", 2, "--timeout: Value 0 not in"},
      {"version --box Z", 2, "--box: Z not in"},
      {"match -l 6 E E", 2, "--level: Value 6 not"},
      {"explain -3 FG_Open", 2, "no call is named \"FG_Open\"\n"},
      {"explain -3 FpMatch", 2, "failures of FG_FpMatch: -1, -8, -98\n"},
      {"match EgAzAAAA EgAzAAAA", 1,
       "malformed; the record given: byte 2: count 51 is over 50\nmvfp: look"},
      {"inspect x", 2, "there is no file \"x\""},
      {"inspect @x", 2, "cannot read x: No such file"},
      {"inspect /tmp", 2, "cannot read /tmp: Is a directory"},
      {"inspect EgAA --picture x.gif", 2, "let its name end in .svg or .png"},
      {"inspect EgAA --picture /tmp/a/a.svg", 2, "cannot draw /tmp/a/a.svg: "},
      {"inspect 128833ff --picture /tmp/a.svg", 2, "shows no minutiae"},
      {"inspect EgAA >&-", 4, "cannot write to standard output: "},
      {"inspect - </dev/null", 1, "malformed: byte 0: there is no record"},
      {"inspect EQAAAAAA", 1, "byte 0: format tag 17 is not 18"},
      {"inspect 120033", 1, "byte 2: count 51 is over 50"},
      {"inspect 1200010a0a680100", 1, "0, byte 5: direction 360 is over 359"},
      {"inspect 1200020a0a0000000a0a00ca00", 1, "1, byte 11: weight 101 is"},
      {"inspect 1200010a0a000065", 1, "auxiliary value 101 is over 100"},
      {"inspect 1200010a0a0001000", 1, "character 17: not a pair of hexa"},
      {"inspect 1200020a0a000100", 1, "byte 8: the record ends here, 5 bytes"},
      {"inspect 1200010a0a000100ff", 1, "byte 8: 1 bytes too many"},
      {"inspect 'EgABCgoA*QA='", 1, "character 9: not Base64"},
      {"inspect EgABCgoAAQAA0", 1, "character 13: an incomplete group"},
      {"inspect EgAA", 0, "note: text: 4 characters: too short"},
  };
  for (const Fault& fault : faults) {
    const Finished run = Run("mvfp " + std::string(fault.arguments));
    EXPECT_EQ(fault.exit_code, run.exit_code) << fault.arguments;
    EXPECT_NE(std::string::npos, run.err.find(fault.err)) << run.err;
  }
}

TEST_F(Tool, DualFeatureRecordsAreJudgedByTheLibrary) {
  site_.InstallDouble();
  site_.Script("score 45");
  Expect("mvfp match EoMCAAAA EoMCAAAA", 1,
         "no match: score 45, level 3 takes more than 45", "");
}

}  // namespace
